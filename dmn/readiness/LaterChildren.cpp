#include <dmn/readiness/LaterChildren.h>

#include <dmn/readiness/ProcessStat.h>

#include <filesystem>
#include <string>
#include <system_error>

#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

namespace dmn {

namespace {

// Not later than the start time of a process that is started from now on.
unsigned long long getTicks() {
    timespec now = {};
    clock_gettime(CLOCK_BOOTTIME, &now);
    auto const ticksPerSecond = static_cast<unsigned long long>(sysconf(_SC_CLK_TCK));
    return static_cast<unsigned long long>(now.tv_sec) * ticksPerSecond +
           static_cast<unsigned long long>(now.tv_nsec) * ticksPerSecond / 1'000'000'000;
}

bool hasChild() {
    siginfo_t report = {};
    return waitid(P_ALL, 0, &report, WEXITED | WNOHANG | WNOWAIT) == 0;
}

// In another PID namespace's /proc, processes have other numbers.
bool isOwnProc() {
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self", error) == std::to_string(getpid());
}

bool lives(ProcessStat const& process) {
    return process.state != 'Z' && process.state != 'X';
}

/// What /proc shows of this process's children.
struct ShownChildren {
    bool isAny = false;
    bool isAnyLaterAlive = false;
};

ShownChildren lookAtChildren(unsigned long long since) {
    ShownChildren shown;
    std::error_code error;
    std::filesystem::directory_iterator process("/proc", error);
    for (; !error && process != std::filesystem::directory_iterator(); process.increment(error)) {
        if (process->path().filename().string().find_first_not_of("0123456789") != std::string::npos)
            continue;
        ProcessStat const stat = readProcessStat(process->path());
        if (stat.state == 0 || stat.parent != getpid())
            continue;
        shown.isAny = true;
        shown.isAnyLaterAlive = shown.isAnyLaterAlive || (lives(stat) && stat.startTime >= since);
    }
    return error ? ShownChildren() : shown;
}

} // namespace

LaterChildren::LaterChildren() : m_since(getTicks()) {}

bool LaterChildren::anyLives() const {
    if (!hasChild())
        return false;
    ShownChildren const shown = isOwnProc() ? lookAtChildren(m_since) : ShownChildren();
    return shown.isAnyLaterAlive || !shown.isAny;
}

} // namespace dmn
