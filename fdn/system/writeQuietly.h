#pragma once

#include <fdn/system/Descriptor.h>

#include <cstddef>
#include <string>

#include <sys/types.h>

namespace fdn {

/// Writes as write(2) does, again for as long as a signal interrupts it, but never ends the program: not with
/// SIGPIPE where a pipe has lost its reader, nor with SIGXFSZ at the limit for the size of files. It then
/// fails, which is enough. How the process treats the signals stays untouched.
ssize_t writeQuietly(int descriptor, char const* bytes, std::size_t size);

/// Writes all of the content in the same way, in as many pieces as the system takes. Returns false when that
/// fails, with errno set; what was written by then stays.
bool writeAll(Descriptor const& file, std::string const& content);

/// The same for a socket, pipe or file that others use, too, and that may be a blocking one: writes only what
/// it takes at once, and fails with EAGAIN when that is nothing. (Setting O_NONBLOCK would set it for the
/// others. Another process that fills the last room of a pipe at the same moment can still make it wait.)
ssize_t writeWithoutWaiting(int descriptor, char const* bytes, std::size_t size);

} // namespace fdn
