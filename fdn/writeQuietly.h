#pragma once

#include <cstddef>

#include <sys/types.h>

namespace fdn {

/// Writes as write(2) does, again for as long as a signal interrupts it, but never ends the program: not with
/// SIGPIPE where a pipe has lost its reader, nor with SIGXFSZ at the limit for the size of files. It then
/// fails, which is enough. How the process treats the signals stays untouched.
ssize_t writeQuietly(int descriptor, char const* bytes, std::size_t size);

} // namespace fdn
