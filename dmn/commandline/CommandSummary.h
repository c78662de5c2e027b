#pragma once

namespace dmn {

/// Prints the standard commands to standard output, with a line about each. The parser's usage says only that
/// there is a command.
void printCommandSummary();

} // namespace dmn
