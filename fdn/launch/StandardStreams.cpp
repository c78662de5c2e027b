#include <fdn/launch/StandardStreams.h>

#include <fdn/Path.h>
#include <fdn/sysError.h>

#include <fcntl.h>
#include <unistd.h>

namespace fdn {

namespace {

constexpr char kAction[] = "forkAndExec";

} // namespace

StandardStream readFromCaller() {
    Pipe pipe = makePipe(kAction);
    return {std::move(pipe.reading), std::move(pipe.writing)};
}

StandardStream writeToCaller() {
    Pipe pipe = makePipe(kAction);
    return {std::move(pipe.writing), std::move(pipe.reading)};
}

StandardStream useNothing() {
    Descriptor nothing(open("/dev/null", O_RDWR | O_CLOEXEC));
    if (!nothing.isOpen())
        throwLastSysError("open", kAction, Path("/dev/null"));
    return {keepOffStandardStreams(std::move(nothing), kAction), Descriptor()};
}

StandardStream useSameAs(StandardStream const& other) {
    return {duplicate(other.child, kAction), Descriptor()};
}

} // namespace fdn
