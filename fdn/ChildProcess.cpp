#include <fdn/ChildProcess.h>

#include <fdn/Descriptor.h>

#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace fdn {

namespace {

constexpr int kExitStatusOfFailure = 127; // as of a shell that cannot run a program
constexpr int kFirstOtherDescriptor = 3;
constexpr int kOldKernelDescriptors = 65536;
constexpr uid_t kSameUser = static_cast<uid_t>(-1);
constexpr gid_t kSameGroup = static_cast<gid_t>(-1);

// The C library's functions of these names make every thread on its list do the same, and wait for it; a
// thread on the list that this process has not inherited would never answer. Old 32-bit systems have calls
// for short numbers besides.
#ifdef SYS_setresuid32
constexpr long kSetGroup = SYS_setresgid32;
constexpr long kSetGroups = SYS_setgroups32;
constexpr long kSetUser = SYS_setresuid32;
#else
constexpr long kSetGroup = SYS_setresgid;
constexpr long kSetGroups = SYS_setgroups;
constexpr long kSetUser = SYS_setresuid;
#endif

void report(LaunchPlan const& plan, LaunchStep step, int value) {
    LaunchReport const message = {step, value};
    uninterrupted([&] { return write(plan.reports, &message, sizeof message); });
}

[[noreturn]] void fail(LaunchPlan const& plan, LaunchStep step) {
    report(plan, step, errno);
    _exit(kExitStatusOfFailure);
}

void partFromParent(LaunchPlan const& plan) {
    if (plan.startsSession && setsid() == -1)
        fail(plan, LaunchStep::Session);
    if (!plan.leavesParent)
        return;
    // Without the handlers that fork() would run, of which nobody knows what they do.
    pid_t const child = _Fork();
    if (child == -1)
        fail(plan, LaunchStep::SecondFork);
    if (child > 0)
        _exit(0);
}

// The descriptors of the plan are needed for a while yet, so nothing is closed before the program starts.
void leaveOtherDescriptorsBehind() {
    if (close_range(kFirstOtherDescriptor, ~0U, CLOSE_RANGE_CLOEXEC) == 0)
        return;
    // Linux before 5.11 does not know the call. Descriptors with higher numbers are inherited there unless
    // they are close-on-exec already; the limit on their number may be too large to go through.
    for (int descriptor = kFirstOtherDescriptor; descriptor < kOldKernelDescriptors; ++descriptor)
        fcntl(descriptor, F_SETFD, FD_CLOEXEC);
}

void takeStreams(LaunchPlan const& plan) {
    int stream = 0;
    for (int const source : plan.streams) {
        if (source != -1 && uninterrupted([&] { return dup2(source, stream); }) == -1)
            fail(plan, LaunchStep::Streams);
        ++stream;
    }
}

bool canBecomeRootAgain(LaunchPlan const& plan) {
    if (plan.user == 0)
        return false;
    return syscall(kSetUser, kSameUser, 0, kSameUser) == 0 ||
           (plan.group != 0 && syscall(kSetGroup, kSameGroup, 0, kSameGroup) == 0);
}

// The user last: with the rights of another one the groups could not be changed any more.
void takeAccount(LaunchPlan const& plan) {
    if (syscall(kSetGroup, plan.group, plan.group, plan.group) == -1)
        fail(plan, LaunchStep::Group);
    if (syscall(kSetGroups, plan.groupCount, plan.groups) == -1)
        fail(plan, LaunchStep::SupplementaryGroups);
    if (syscall(kSetUser, plan.user, plan.user, plan.user) == -1)
        fail(plan, LaunchStep::User);
    if (canBecomeRootAgain(plan)) {
        errno = EPERM;
        fail(plan, LaunchStep::User);
    }
}

void enterFolder(LaunchPlan const& plan) {
    if (plan.folder != nullptr && chdir(plan.folder) == -1)
        fail(plan, LaunchStep::Folder);
}

// The mask last, so that no handler of the parent ever runs here.
void resetSignals() {
    struct sigaction standard = {};
    standard.sa_handler = SIG_DFL;
    for (int signal = 1; signal <= SIGRTMAX; ++signal)
        sigaction(signal, &standard, nullptr);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

} // namespace

void becomeProgram(LaunchPlan const& plan) noexcept {
    partFromParent(plan);
    report(plan, LaunchStep::Exist, getpid());
    leaveOtherDescriptorsBehind();
    takeStreams(plan);
    if (plan.changesAccount)
        takeAccount(plan);
    enterFolder(plan);
    resetSignals();
    execve(plan.program, plan.arguments, plan.environment);
    fail(plan, LaunchStep::Program);
}

} // namespace fdn
