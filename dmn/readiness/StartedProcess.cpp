#include <dmn/readiness/StartedProcess.h>

#include <dmn/readiness/ProcessStat.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <system_error>

#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <time.h>

namespace dmn {

namespace {

using std::chrono::nanoseconds;
using std::chrono::steady_clock;

constexpr std::chrono::milliseconds kLongestBusy(10);
constexpr std::chrono::seconds kLongestWatch(1);
constexpr timespec kBetweenLooks = {0, 200'000};

// The kernel's flags of a process that ends, that dumps core and that a signal has ended. A dump may take
// long, and the process keeps its locks meanwhile.
constexpr unsigned kEndingFlags = 0x4 | 0x200 | 0x400;

bool isEnding(pid_t process) {
    return (readProcessStat(getProcFolder(process)).flags & kEndingFlags) != 0;
}

// Whether none of its threads has anything to do: the main thread alone may wait for another, as it does in
// exit(). Nobody is at rest where /proc cannot be read.
bool isAtRest(pid_t process) {
    std::error_code error;
    std::filesystem::directory_iterator thread(getProcFolder(process) / "task", error);
    for (; !error && thread != std::filesystem::directory_iterator(); thread.increment(error)) {
        char const state = readProcessStat(thread->path()).state;
        if (state == 'R' || state == 'D' || state == 0)
            return false;
    }
    return !error;
}

// The processor time that a process has had. A machine that is booting has more to do than to let a daemon
// fail at once. Where the system does not tell, the time that passes.
nanoseconds getBusyTime(pid_t process) {
    clockid_t clock = {};
    timespec time = {};
    if (clock_getcpuclockid(process, &clock) != 0 || clock_gettime(clock, &time) != 0)
        return steady_clock::now().time_since_epoch();
    return std::chrono::seconds(time.tv_sec) + nanoseconds(time.tv_nsec);
}

// Asks, without waiting, for a child that has ended. Returns whether there is such a child at all, ended or
// not.
bool ask(pid_t process, int options, siginfo_t& report) {
    report = {};
    return waitid(P_PID, static_cast<id_t>(process), &report, WEXITED | WNOHANG | options) == 0;
}

} // namespace

StartedProcess::StartedProcess(pid_t process) : m_number(process), m_handle(process) {}

StartedProcess::~StartedProcess() {
    if (!m_hasEnded)
        reap();
}

bool StartedProcess::hasEnded() {
    if (!m_hasEnded && !reap() && m_handle.awaitEnd(0)) {
        reap(); // a child that has ended in between; of any other process nothing more is known
        m_hasEnded = true;
    }
    return m_hasEnded;
}

bool StartedProcess::reap() {
    siginfo_t report = {};
    if (!ask(m_number, 0, report) || report.si_pid == 0)
        return false;
    m_end = ProcessEnd(report);
    m_hasEnded = true;
    return true;
}

bool StartedProcess::livesOn() {
    nanoseconds const longestBusy = getBusyTime(m_number) + kLongestBusy;
    auto const end = steady_clock::now() + kLongestWatch;
    pollfd event = {getDescriptor(), POLLIN, 0};
    while (!hasEnded() && !isEnding(m_number) && !isAtRest(m_number) && getBusyTime(m_number) < longestBusy &&
           steady_clock::now() < end)
        ppoll(&event, 1, &kBetweenLooks, nullptr); // whatever it says: the loop looks
    return !hasEnded() && !isEnding(m_number);
}

bool isChild(pid_t process) {
    siginfo_t report = {};
    return ask(process, WNOWAIT, report);
}

} // namespace dmn
