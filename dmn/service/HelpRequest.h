#pragma once

#include <string_view>

namespace dmn {

/// What a command line may ask for in place of a command.
enum class HelpRequest { None, Usage, Version };

/// Looks for "--help", "-h", "--version" and the command "help". What stands behind "run" and "daemon"
/// belongs to the daemon and is not looked at, nor is the value of an option that every service has.
HelpRequest findHelpRequest(int argc, char const* const* argv);

/// The first word that is neither an option nor the value of one, as far as that can be told before the
/// command line is parsed. Empty if there is none.
std::string_view findCommand(int argc, char const* const* argv);

} // namespace dmn
