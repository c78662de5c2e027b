#pragma once

#include <cstddef>

#include <sys/types.h>

namespace fdn {

/// Writes as write(2) does, and repeats the call for as long as a signal interrupts it, but never ends the
/// program: neither with SIGPIPE when a pipe has lost its reader, nor with SIGXFSZ at the limit for the size
/// of files. It just fails then, with EPIPE or EFBIG. How the process treats these signals does not change.
/// Any thread may call it.
ssize_t writeQuietly(int descriptor, char const* bytes, std::size_t size);

/// Writes all of the bytes in the same way, in as many pieces as the system takes. Returns false when that
/// fails, and then errno says why; what was written by then stays.
bool writeAll(int descriptor, char const* bytes, std::size_t size);

/// The same for a socket, pipe or file that is shared with others and may be a blocking one: writes only what
/// it takes at once, and fails with EAGAIN when that is nothing. (Setting O_NONBLOCK would set it for the
/// others as well.) It can still block when another process fills the last room of a pipe at the same moment.
ssize_t writeWithoutWaiting(int descriptor, char const* bytes, std::size_t size);

} // namespace fdn
