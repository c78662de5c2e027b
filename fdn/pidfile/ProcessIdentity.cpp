#include <fdn/pidfile/ProcessIdentity.h>

#include <fdn/Path.h>
#include <fdn/sysError.h>
#include <fdn/system/openProcess.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace fdn {

namespace {

constexpr char kBlanks[] = " \t\n";
constexpr int kStartTimeAfterName = 20; // field 22 of proc_pid_stat(5); the name in parentheses is the second

// The process may end between any two calls.
bool saysNoProcess(int error) {
    return error == ENOENT || error == ENOTDIR || error == ESRCH;
}

// The beginning of the file, which has everything that is wanted here; empty when there is no such file. Any
// other failure says nothing about the process and is thrown, so that the process is not taken for gone.
std::string readProcFile(std::string const& name) {
    std::string const path = "/proc/" + name;
    Descriptor const file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::array<char, 4096> content;
    ssize_t size = -1;
    if (file.isOpen())
        size = uninterrupted([&] { return read(file.get(), content.data(), content.size()); });
    if (size == -1 && !saysNoProcess(errno))
        throwLastSysError(file.isOpen() ? "read" : "open", "looking at a process",
                          Path(String::fromBytes(path)));
    return size > 0 ? std::string(content.data(), static_cast<std::size_t>(size)) : std::string();
}

// Words are counted from 1. Empty when there are fewer.
std::string getWord(std::string const& words, int number) {
    std::size_t start = words.find_first_not_of(kBlanks);
    while (--number > 0 && start != std::string::npos)
        start = words.find_first_not_of(kBlanks, words.find_first_of(kBlanks, start));
    return start == std::string::npos ? std::string()
                                      : words.substr(start, words.find_first_of(kBlanks, start) - start);
}

std::string readLink(std::string const& name) {
    std::array<char, 64> target = {};
    ssize_t const size = readlink(("/proc/" + name).c_str(), target.data(), target.size());
    return std::string(target.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
}

// The same for a file about the process. It is also empty where /proc shows another PID namespace, in which
// the number belongs to somebody else.
std::string readProcessFile(pid_t process, char const* name) {
    if (process == getpid())
        return readProcFile(std::string("self/") + name);
    return readLink("self") == std::to_string(getpid()) ? readProcFile(std::to_string(process) + "/" + name)
                                                        : std::string();
}

// What follows "NAME:" in the process's status (proc_pid_status(5)).
std::string getStatus(pid_t process, std::string const& name) {
    std::string const status = "\n" + readProcessFile(process, "status");
    std::size_t const start = status.find("\n" + name + ":");
    if (start == std::string::npos)
        return std::string();
    std::size_t const valueStart = start + name.size() + 2;
    return status.substr(valueStart, status.find('\n', valueStart) - valueStart);
}

std::string getStartTime(pid_t process) {
    std::string const stat = readProcessFile(process, "stat");
    // The name may contain anything, even blanks and parentheses, but nothing after it does.
    return getWord(stat.substr(stat.rfind(')') + 1), kStartTimeAfterName);
}

// In another time namespace the same start is given as another time (time_namespaces(7)).
bool hasOtherClock(pid_t process) {
    std::string const clock = readLink(std::to_string(process) + "/ns/time");
    return !clock.empty() && clock != readLink("self/ns/time");
}

std::string getBoot() {
    return getWord(readProcFile("sys/kernel/random/boot_id"), 1);
}

bool hasEnded(Descriptor const& process) {
    pollfd readable = {process.get(), POLLIN, 0};
    return uninterrupted([&] { return poll(&readable, 1, 0); }) == 1;
}

// For kernels before 5.3, and for sandboxes that keep pidfd_open from programs.
bool canBeSignalled(pid_t process) {
    if (kill(process, 0) == -1 && errno != EPERM)
        return false;
    std::string const threadGroup = getWord(getStatus(process, "Tgid"), 1);
    std::string const state = getWord(getStatus(process, "State"), 1);
    return (threadGroup.empty() || threadGroup == std::to_string(process)) && state != "Z" && state != "X";
}

} // namespace

bool isProcessAlive(pid_t process) {
    Descriptor const handle = openProcess(process);
    if (handle.isOpen())
        return !hasEnded(handle);
    // EINVAL or ENOENT stands for the number of a thread, depending on the kernel.
    if (errno == ESRCH || errno == EINVAL || errno == ENOENT)
        return false;
    return canBeSignalled(process);
}

std::string getProcessIdentity(pid_t process) {
    std::string const startTime = getStartTime(process);
    std::string const boot = getBoot();
    return startTime.empty() || boot.empty() ? std::string() : startTime + " " + boot;
}

std::optional<bool> hasIdentity(pid_t process, std::string const& identity) {
    std::string const boot = getBoot();
    // No process of another boot lives, so this decides for hidden processes as well.
    if (!boot.empty() && boot != getWord(identity, 2))
        return false;
    std::string const startTime = getStartTime(process);
    if (startTime.empty())
        return std::nullopt;
    if (startTime != getWord(identity, 1))
        return hasOtherClock(process) ? std::nullopt : std::optional<bool>(false);
    return boot.empty() ? std::nullopt : std::optional<bool>(identity == startTime + " " + boot);
}

std::optional<bool> mayBeSignalledBy(uid_t user, pid_t process) {
    std::string const users = getStatus(process, "Uid"); // real, effective, saved and file system user
    if (users.empty())
        return std::nullopt;
    std::string const number = std::to_string(user);
    return number == getWord(users, 1) || number == getWord(users, 3);
}

} // namespace fdn
