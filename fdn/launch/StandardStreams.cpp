#include <fdn/launch/StandardStreams.h>

#include <fdn/Path.h>
#include <fdn/sysError.h>

#include <fcntl.h>
#include <unistd.h>

namespace fdn {

namespace {

constexpr char kAction[] = "forkAndExec";

Descriptor duplicate(Descriptor const& descriptor) {
    Descriptor copy(fcntl(descriptor.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    if (!copy.isOpen())
        throwLastSysError("fcntl", kAction);
    return copy;
}

// The number of a closed standard stream is free, so the system gives it to the next descriptor.
Descriptor keepOffStandardStreams(Descriptor descriptor) {
    return descriptor.get() <= STDERR_FILENO ? duplicate(descriptor) : std::move(descriptor);
}

} // namespace

Pipe makePipe() {
    std::array<int, 2> ends = {-1, -1};
    if (pipe2(ends.data(), O_CLOEXEC) == -1)
        throwLastSysError("pipe2", kAction);
    // Owned before anything can throw.
    Descriptor reading(ends[0]);
    Descriptor writing(ends[1]);
    return {keepOffStandardStreams(std::move(reading)), keepOffStandardStreams(std::move(writing))};
}

StandardStream readFromCaller() {
    Pipe pipe = makePipe();
    return {std::move(pipe.reading), std::move(pipe.writing)};
}

StandardStream writeToCaller() {
    Pipe pipe = makePipe();
    return {std::move(pipe.writing), std::move(pipe.reading)};
}

StandardStream useNothing() {
    Descriptor nothing(open("/dev/null", O_RDWR | O_CLOEXEC));
    if (!nothing.isOpen())
        throwLastSysError("open", kAction, Path("/dev/null"));
    return {keepOffStandardStreams(std::move(nothing)), Descriptor()};
}

StandardStream useSameAs(StandardStream const& other) {
    return {duplicate(other.child), Descriptor()};
}

} // namespace fdn
