#pragma once

namespace dmn {

/// What a command line may ask for in place of a command.
enum class HelpRequest { None, Usage, Version };

/// Looks for "--help", "-h", "--version" and the command "help". What stands behind "run" and "daemon"
/// belongs to the daemon and is not looked at, nor is the value of an option that every service has.
HelpRequest findHelpRequest(int argc, char const* const* argv);

} // namespace dmn
