#pragma once

namespace dmn {

/// Prints the standard commands to standard output, with a line about each. The parser's usage knows only
/// that there is a command.
void printCommandSummary();

} // namespace dmn
