#include <fdn/launch/AwaitedProgram.h>

#include <fdn/sysError.h>
#include <fdn/system/openProcess.h>

#include <array>
#include <csignal>
#include <utility>

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace fdn {

namespace {

constexpr char kAction[] = "execSyncReturnOutputAsString";

// Another treatment may be a handler that waits for all children.
bool areChildrenRemembered() {
    struct sigaction treatment = {};
    sigaction(SIGCHLD, nullptr, &treatment);
    return treatment.sa_handler == SIG_DFL && (treatment.sa_flags & SA_NOCLDWAIT) == 0;
}

// Returns how much there was, 0 at the end.
std::size_t append(std::string& content, Descriptor const& output) {
    std::array<char, 4096> buffer;
    ssize_t const count = uninterrupted([&] { return read(output.get(), buffer.data(), buffer.size()); });
    if (count == -1)
        throwLastSysError("read", kAction);
    content.append(buffer.data(), static_cast<std::size_t>(count));
    return static_cast<std::size_t>(count);
}

// No more than is there now: somebody else may go on writing.
void appendRest(std::string& content, Descriptor const& output) {
    int size = 0;
    ioctl(output.get(), FIONREAD, &size);
    std::size_t const end = content.size() + static_cast<std::size_t>(size);
    while (content.size() < end && append(content, output) != 0) {
    }
}

} // namespace

AwaitedProgram::AwaitedProgram(LaunchRequest const& request, StandardStreams& streams) {
    LaunchRequest complete = request;
    Pipe ends;
    if (!areChildrenRemembered()) {
        ends = makePipe();
        complete.ends = ends.writing.get();
    }
    m_child = launch(complete, streams);
    m_ends = std::move(ends.reading);
    m_handle = openProcess(m_child);
}

AwaitedProgram::~AwaitedProgram() {
    if (m_child != 0)
        wait();
}

std::string AwaitedProgram::read(Descriptor output) const {
    std::string content;
    while (!awaitOutputOrEnd(output))
        if (append(content, output) == 0)
            return content;
    appendRest(content, output);
    return content;
}

// Returns whether it is the end.
bool AwaitedProgram::awaitOutputOrEnd(Descriptor const& output) const {
    std::array<pollfd, 3> sources = {
        {{output.get(), POLLIN, 0}, {m_handle.get(), POLLIN, 0}, {m_ends.get(), POLLIN, 0}}};
    if (uninterrupted([&] { return poll(sources.data(), sources.size(), -1); }) == -1)
        throwLastSysError("poll", kAction);
    return sources[1].revents != 0 || sources[2].revents != 0;
}

std::optional<int> AwaitedProgram::wait() {
    std::optional<int> const state = reap(std::exchange(m_child, 0));
    if (!m_ends.isOpen())
        return state;
    // The process in between has ended: what it had to tell is in the pipe by now.
    pollfd told = {m_ends.get(), POLLIN, 0};
    int programState = 0;
    if (poll(&told, 1, 0) != 1 || uninterrupted([&] {
                                      return ::read(m_ends.get(), &programState, sizeof programState);
                                  }) != sizeof programState)
        return std::nullopt;
    return programState;
}

} // namespace fdn
