#include <dmn/readiness/StartedProcess.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <string>

#include <poll.h>
#include <signal.h>
#include <sys/wait.h>

namespace dmn {

namespace {

using std::chrono::steady_clock;

constexpr std::chrono::milliseconds kLongestBusy(10);
constexpr timespec kBetweenLooks = {0, 200'000};

// The kernel's flags of a process that ends, that dumps core and that a signal has ended. A dump may take
// long, and the process keeps its locks meanwhile.
constexpr unsigned kEndingFlags = 0x4 | 0x200 | 0x400;

// What the main thread of a process is doing (proc_pid_stat(5)). Neither where /proc cannot be read.
struct Activity {
    bool waits = false;
    bool ends = false;
};

Activity lookAt(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string text;
    std::getline(file, text, '\0');
    // The program's name comes before, in brackets, and may hold anything.
    std::size_t const end = text.rfind(')');
    char state = 0;
    unsigned flags = 0;
    if (end == std::string::npos ||
        std::sscanf(text.c_str() + end, ") %c %*d %*d %*d %*d %*d %u", &state, &flags) != 2)
        return Activity();
    return {state == 'S', (flags & kEndingFlags) != 0};
}

// Asks, without waiting, for children that have ended. Returns whether there are such children at all, ended
// or not.
bool ask(idtype_t whom, pid_t process, int options, siginfo_t& report) {
    report = {};
    return waitid(whom, static_cast<id_t>(process), &report, WEXITED | WNOHANG | options) == 0;
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
    if (!ask(P_PID, m_number, 0, report) || report.si_pid == 0)
        return false;
    m_end = ProcessEnd(report);
    m_hasEnded = true;
    return true;
}

bool StartedProcess::livesOn() {
    auto const end = steady_clock::now() + kLongestBusy;
    pollfd event = {getDescriptor(), POLLIN, 0};
    Activity activity = lookAt(m_number);
    while (!hasEnded() && !activity.waits && !activity.ends && steady_clock::now() < end) {
        ppoll(&event, 1, &kBetweenLooks, nullptr); // whatever it says: the loop looks
        activity = lookAt(m_number);
    }
    return !hasEnded() && !activity.ends;
}

bool isChild(pid_t process) {
    siginfo_t report = {};
    return ask(P_PID, process, WNOWAIT, report);
}

bool hasChild() {
    siginfo_t report = {};
    return ask(P_ALL, 0, WNOWAIT, report);
}

} // namespace dmn
