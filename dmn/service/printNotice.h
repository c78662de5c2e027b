#pragma once

#include <fdn/String.h>

namespace dmn {

/// Prints to standard output what a command is doing or has done, one or more lines, and a line feed. The
/// command must not depend on it: a reader that is gone does not end the process, nobody waits for long for
/// one that does not read, and what cannot be printed is lost.
void printNotice(fdn::String const& text) noexcept;

} // namespace dmn
