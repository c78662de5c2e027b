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

// Any handler counts as forgetful, because it may wait for all children.
bool areChildrenRemembered() {
    struct sigaction treatment = {};
    sigaction(SIGCHLD, nullptr, &treatment);
    return treatment.sa_handler == SIG_DFL && (treatment.sa_flags & SA_NOCLDWAIT) == 0;
}

// Waits for a part of the output. Returns its size, 0 at the end.
std::size_t appendPart(std::string& content, Descriptor const& output) {
    std::array<char, 4096> buffer;
    ssize_t const count = uninterrupted([&] { return read(output.get(), buffer.data(), buffer.size()); });
    if (count == -1)
        throwLastSysError("read", kAction);
    content.append(buffer.data(), static_cast<std::size_t>(count));
    return static_cast<std::size_t>(count);
}

// Takes no more than is in the pipe now, because another process may go on writing forever.
void appendRest(std::string& content, Descriptor const& output) {
    int size = 0;
    ioctl(output.get(), FIONREAD, &size);
    std::size_t const end = content.size() + static_cast<std::size_t>(size);
    while (content.size() < end && appendPart(content, output) != 0) {
    }
}

// The process in between has ended, so its report is in the pipe by now, or will never come.
std::optional<int> readReportedEnd(Descriptor const& endReport) {
    pollfd report = {endReport.get(), POLLIN, 0};
    int state = 0;
    if (poll(&report, 1, 0) != 1 ||
        uninterrupted([&] { return read(endReport.get(), &state, sizeof state); }) != sizeof state)
        return std::nullopt;
    return state;
}

} // namespace

AwaitedProgram::AwaitedProgram(LaunchRequest const& request, StandardStreams& streams) {
    LaunchRequest complete = request;
    Pipe endReport;
    if (!areChildrenRemembered()) {
        endReport = makePipe(kAction);
        complete.endReport = endReport.writing.get();
    }
    m_child = launch(complete, streams);
    m_endReport = std::move(endReport.reading);
    m_handle = openProcess(m_child);
}

AwaitedProgram::~AwaitedProgram() {
    if (m_child != 0)
        awaitEnd();
}

std::string AwaitedProgram::readOutput(Descriptor output) const {
    std::string content;
    while (!awaitOutputOrEnd(output))
        if (appendPart(content, output) == 0)
            return content;
    appendRest(content, output);
    return content;
}

// Returns true at the program's end, false when there is output or nobody can write any. poll() passes over
// descriptors that are not open.
bool AwaitedProgram::awaitOutputOrEnd(Descriptor const& output) const {
    std::array<pollfd, 3> sources = {
        {{output.get(), POLLIN, 0}, {m_handle.get(), POLLIN, 0}, {m_endReport.get(), POLLIN, 0}}};
    if (uninterrupted([&] { return poll(sources.data(), sources.size(), -1); }) == -1)
        throwLastSysError("poll", kAction);
    return sources[1].revents != 0 || sources[2].revents != 0;
}

std::optional<int> AwaitedProgram::awaitEnd() {
    std::optional<int> const state = reap(std::exchange(m_child, 0));
    return m_endReport.isOpen() ? readReportedEnd(m_endReport) : state;
}

} // namespace fdn
