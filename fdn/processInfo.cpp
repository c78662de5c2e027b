#include <fdn/processInfo.h>

#include <fdn/CError.h>
#include <fdn/accounts/UserRecord.h>
#include <fdn/system/procFiles.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include <time.h>
#include <unistd.h>

namespace fdn {

namespace {

constexpr std::int64_t kMicroseconds = 1000000; // in a second
constexpr int kBase = 10;

std::uint64_t toNumber(std::string const& digits) {
    return std::strtoull(digits.c_str(), nullptr, kBase);
}

std::int64_t getMicroseconds(clockid_t clock) {
    timespec time = {};
    clock_gettime(clock, &time);
    return time.tv_sec * kMicroseconds + time.tv_nsec / 1000;
}

// The difference of the clocks is when the machine was booted, and follows when its clock is set.
CTime toTime(std::string const& ticksSinceBoot) {
    auto const ticks = static_cast<std::int64_t>(toNumber(ticksSinceBoot));
    std::int64_t const boot = getMicroseconds(CLOCK_REALTIME) - getMicroseconds(CLOCK_BOOTTIME);
    return CTime(boot + ticks * kMicroseconds / sysconf(_SC_CLK_TCK));
}

String getAccount(pid_t process) {
    std::string const user = getWord(getProcessStatus(process, "Uid"), 2); // after the real one
    if (user.empty())
        return String();
    return findUserName(static_cast<uid_t>(toNumber(user)), "looking at a process").value_or(String(user));
}

// /proc also knows threads by their numbers, although it does not list them.
bool isThread(pid_t process) {
    return getWord(getProcessStatus(process, "Tgid"), 1) != std::to_string(process);
}

std::uint64_t toBytes(std::string const& pages) {
    return toNumber(pages) * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

std::optional<ProcessInfo> lookAt(pid_t process) {
    std::string const startTime = getProcessStartTime(process);
    if (startTime.empty() || isThread(process))
        return std::nullopt;
    ProcessInfo info;
    info.account = getAccount(process);
    info.executable = Path(String::fromBytes(readProcessLink(process, "exe")));
    info.started = toTime(startTime);
    std::string const memory = readProcessFile(process, "statm");
    info.memoryBytes = toBytes(getWord(memory, 2)); // after all of its address space
    // A process that ends gives up its address space first. And by now another one may have its number.
    bool const wasStillThere = toNumber(getWord(memory, 1)) > 0 && getProcessStartTime(process) == startTime;
    return wasStillThere ? std::optional(info) : std::nullopt;
}

} // namespace

std::optional<ProcessInfo> getProcessInfo(pid_t process) {
    try {
        return lookAt(process);
    } catch (CError const& error) {
        // Where /proc keeps other accounts' processes from this one (hidepid=1).
        if (error.getCode() == EPERM || error.getCode() == EACCES)
            return std::nullopt;
        throw;
    }
}

} // namespace fdn
