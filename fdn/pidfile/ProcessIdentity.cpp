#include <fdn/pidfile/ProcessIdentity.h>

#include <fdn/system/openProcess.h>
#include <fdn/system/procFiles.h>

#include <cerrno>
#include <csignal>

#include <poll.h>
#include <unistd.h>

namespace fdn {

namespace {

// In another time namespace the same start is given as another time (time_namespaces(7)).
bool hasOtherClock(pid_t process) {
    std::string const clock = readProcLink(std::to_string(process) + "/ns/time");
    return !clock.empty() && clock != readProcLink("self/ns/time");
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
    std::string const threadGroup = getWord(getProcessStatus(process, "Tgid"), 1);
    std::string const state = getWord(getProcessStatus(process, "State"), 1);
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
    std::string const startTime = getProcessStartTime(process);
    std::string const boot = getBoot();
    return startTime.empty() || boot.empty() ? std::string() : startTime + " " + boot;
}

std::optional<bool> hasIdentity(pid_t process, std::string const& identity) {
    std::string const boot = getBoot();
    // No process of another boot lives, so this decides for hidden processes as well.
    if (!boot.empty() && boot != getWord(identity, 2))
        return false;
    std::string const startTime = getProcessStartTime(process);
    if (startTime.empty())
        return std::nullopt;
    if (startTime != getWord(identity, 1))
        return hasOtherClock(process) ? std::nullopt : std::optional<bool>(false);
    return boot.empty() ? std::nullopt : std::optional<bool>(identity == startTime + " " + boot);
}

std::optional<bool> mayBeSignalledBy(uid_t user, pid_t process) {
    std::string const users = getProcessStatus(process, "Uid"); // real, effective, saved and file system user
    if (users.empty())
        return std::nullopt;
    std::string const number = std::to_string(user);
    return number == getWord(users, 1) || number == getWord(users, 3);
}

} // namespace fdn
