#include "support/Obstacles.h"

#include "support/TemporaryFolder.h"

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <stdexcept>
#include <system_error>

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test {

namespace {

constexpr char kShell[] = "/bin/sh";

void check(int result, std::string const& what) {
    if (result != 0)
        throw std::system_error(errno, std::generic_category(), what);
}

void answerSystemCall(long number, unsigned answer) {
    auto const answered = static_cast<unsigned>(number);
    sock_filter filter[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, answered, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, answer),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    sock_fprog const program = {sizeof filter / sizeof filter[0], filter};
    check(prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0), "prctl");
    // Applies to every thread, including those that a sanitizer has started: they must not differ from this
    // one.
    check(
        static_cast<int>(syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, SECCOMP_FILTER_FLAG_TSYNC, &program)),
        "seccomp");
}

// Returns false if the child has ended.
bool awaitHalt(pid_t child) {
    int state = 0;
    return waitpid(child, &state, __WALL) == child && WIFSTOPPED(state);
}

bool isAboutToCall(pid_t child, long number) {
    __ptrace_syscall_info info = {};
    // Without this option, system calls are not reported.
    ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD);
    ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof info, &info);
    return info.op == PTRACE_SYSCALL_INFO_ENTRY && info.entry.nr == static_cast<unsigned long>(number);
}

} // namespace

// Changes only this mount, not the file system: its other mounts may be the machine's.
ReadOnlyFolder::ReadOnlyFolder(std::string const& folder) : m_folder(folder) {
    check(mount(nullptr, folder.c_str(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr), folder);
}

ReadOnlyFolder::~ReadOnlyFolder() {
    mount(nullptr, m_folder.c_str(), nullptr, MS_REMOUNT | MS_BIND, nullptr);
}

FullFolder::FullFolder(std::string const& folder) : m_folder(folder) {
    check(mount("full", folder.c_str(), "tmpfs", 0, "nr_blocks=1"), folder);
    writeFile(folder + "/full", "x");
}

FullFolder::~FullFolder() {
    umount2(m_folder.c_str(), MNT_DETACH);
}

BrokenShell::BrokenShell() {
    check(mount("/bin/false", kShell, nullptr, MS_BIND, nullptr), kShell);
}

BrokenShell::~BrokenShell() {
    umount2(kShell, MNT_DETACH);
}

NoExecFolder::NoExecFolder(std::string const& folder) : m_folder(folder) {
    check(mount("noexec", folder.c_str(), "tmpfs", MS_NOEXEC, nullptr), folder);
}

NoExecFolder::~NoExecFolder() {
    umount2(m_folder.c_str(), MNT_DETACH);
}

NoFileMayGrow::NoFileMayGrow() {
    check(getrlimit(RLIMIT_FSIZE, &m_limit), "getrlimit");
    rlimit const nothing = {0, m_limit.rlim_max};
    check(setrlimit(RLIMIT_FSIZE, &nothing), "setrlimit");
}

NoFileMayGrow::~NoFileMayGrow() {
    setrlimit(RLIMIT_FSIZE, &m_limit);
}

void refuseSystemCall(long number, int error) {
    answerSystemCall(number, SECCOMP_RET_ERRNO | static_cast<unsigned>(error));
}

void endAtSystemCall(long number) {
    check(prctl(PR_SET_DUMPABLE, 0, 0, 0, 0), "prctl"); // no core file
    answerSystemCall(number, SECCOMP_RET_KILL_PROCESS);
}

void removeProc() {
    check(unshare(CLONE_NEWNS), "unshare");
    // Unmounts each of them: the machine's lies below that of the private root.
    while (umount2("/proc", MNT_DETACH) == 0)
        continue;
}

void awaitPerformBefore() {
    check(static_cast<int>(ptrace(PTRACE_TRACEME, 0, nullptr, nullptr)), "ptrace");
    raise(SIGSTOP);
}

void performBefore(long number, pid_t child, std::function<void()> const& action) {
    while (awaitHalt(child)) {
        if (isAboutToCall(child, number)) {
            action();
            check(static_cast<int>(ptrace(PTRACE_DETACH, child, nullptr, nullptr)), "ptrace");
            return;
        }
        check(static_cast<int>(ptrace(PTRACE_SYSCALL, child, nullptr, nullptr)), "ptrace");
    }
    throw std::runtime_error("The child has ended without making the system call.");
}

} // namespace test
