#include <fdn/system/Pipe.h>

#include <fdn/sysError.h>

#include <array>

#include <fcntl.h>
#include <unistd.h>

namespace fdn {

Pipe makePipe(char const* action) {
    std::array<int, 2> ends = {-1, -1};
    if (pipe2(ends.data(), O_CLOEXEC) == -1)
        throwLastSysError("pipe2", action);
    // Owned before anything can throw.
    Descriptor reading(ends[0]);
    Descriptor writing(ends[1]);
    return {keepOffStandardStreams(std::move(reading), action),
            keepOffStandardStreams(std::move(writing), action)};
}

// The number of a closed standard stream is free, so the system gives it to the next descriptor.
Descriptor keepOffStandardStreams(Descriptor descriptor, char const* action) {
    return descriptor.get() <= STDERR_FILENO ? duplicate(descriptor, action) : std::move(descriptor);
}

Descriptor duplicate(Descriptor const& descriptor, char const* action) {
    Descriptor copy(fcntl(descriptor.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    if (!copy.isOpen())
        throwLastSysError("fcntl", action);
    return copy;
}

} // namespace fdn
