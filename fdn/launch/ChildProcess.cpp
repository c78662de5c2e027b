#include <fdn/launch/ChildProcess.h>

#include <fdn/launch/LaunchReport.h>
#include <fdn/launch/StandardStreams.h>
#include <fdn/system/closeDescriptors.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <utility>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fdn {

namespace {

constexpr int kExitStatusOfFailure = 127; // a shell's when it cannot run a program
constexpr int kFirstOtherDescriptor = 3;
constexpr uid_t kSameUser = static_cast<uid_t>(-1);
constexpr gid_t kSameGroup = static_cast<gid_t>(-1);
constexpr std::size_t kRoomForAction = sizeof(struct sigaction); // the kernel's own structure is smaller
constexpr std::size_t kSignalSetSize = _NSIG / 8;                // in bytes; _NSIG is 65, on MIPS 128

// The system's own calls. The C library's functions of these names make every thread on its list do the same
// and wait for it (nptl(7)), and a thread that this process has not inherited would never answer. Old 32-bit
// systems have other calls of these names, for numbers of 16 bits.
#ifdef SYS_setresuid32
constexpr long kSetGroup = SYS_setresgid32;
constexpr long kSetGroups = SYS_setgroups32;
constexpr long kSetUser = SYS_setresuid32;
#else
constexpr long kSetGroup = SYS_setresgid;
constexpr long kSetGroups = SYS_setgroups;
constexpr long kSetUser = SYS_setresuid;
#endif

void report(LaunchPlan const& plan, LaunchStep step, int error = 0) {
    LaunchReport const message = {step, getpid(), error};
    uninterrupted([&] { return write(plan.reports, &message, sizeof message); });
}

[[noreturn]] void fail(LaunchPlan const& plan, LaunchStep step) {
    report(plan, step, errno);
    _exit(kExitStatusOfFailure);
}

// Makes a step that consists of one system call.
template <class Call>
void makeStep(LaunchPlan const& plan, LaunchStep step, Call call) {
    report(plan, step);
    if (call() == -1)
        fail(plan, step);
}

void takeStreams(LaunchPlan const& plan) {
    report(plan, LaunchStep::Streams);
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

// The user comes last, because an ordinary user may not change groups any more.
void takeAccount(LaunchPlan const& plan) {
    makeStep(plan, LaunchStep::Group, [&] { return syscall(kSetGroup, plan.group, plan.group, plan.group); });
    makeStep(plan, LaunchStep::SupplementaryGroups,
             [&] { return syscall(kSetGroups, plan.groupCount, plan.groups); });
    makeStep(plan, LaunchStep::User, [&] { return syscall(kSetUser, plan.user, plan.user, plan.user); });
    if (canBecomeRootAgain(plan)) {
        errno = EPERM;
        fail(plan, LaunchStep::User);
    }
}

// The system's own call, because for SIGABRT newer C libraries (glibc 2.41) wait for a lock that may have
// been taken when this process was forked. On every machine, zeros stand for the default, without flags or
// mask. SPARC expects the size one place further on than the others, which have no use for what is there.
void resetSignal(int signal) {
    std::array<unsigned char, kRoomForAction> const standard = {};
    syscall(SYS_rt_sigaction, signal, standard.data(), nullptr, kSignalSetSize, kSignalSetSize);
}

// The mask comes last, so that no handler of the parent ever runs here.
void resetSignals() {
    for (int signal = 1; signal < _NSIG; ++signal)
        resetSignal(signal);
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

// `sign` is a pipe's end that execve() closes, which tells the process in between that the program runs; -1
// without such a process.
[[noreturn]] void becomeProgram(LaunchPlan const& plan, int sign) {
    // Without the process in between, nobody would wait for the program or end it.
    if (plan.endReport != -1)
        prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (plan.startsSession && !plan.leavesParent)
        makeStep(plan, LaunchStep::Session, setsid);
    takeStreams(plan);
    // Descriptors are closed before a step that can hang, so that nobody who waits for the end of one of the
    // starter's pipes waits for this process.
    closeOthersBut(plan.reports, sign);
    if (plan.changesAccount)
        takeAccount(plan);
    if (plan.folder != nullptr)
        makeStep(plan, LaunchStep::Folder, [&] { return chdir(plan.folder); });
    // The signals are reset within the step, because a signal that ends the process from here on counts as
    // having ended the program.
    makeStep(plan, LaunchStep::Program, [&] {
        resetSignals();
        return execve(plan.program, plan.arguments, plan.environment);
    });
    _exit(kExitStatusOfFailure);
}

// Ignored signals stay ignored in new processes, and while SIGCHLD is ignored, the system forgets how
// children end.
void rememberChildren() {
    resetSignal(SIGCHLD);
}

// Everything else is closed first, because the program or the starter may be waiting for the last holder of a
// descriptor to let go of it.
void reportEnd(LaunchPlan const& plan, pid_t program) {
    closeAllBut(plan.endReport);
    int state = 0;
    if (uninterrupted([&] { return waitpid(program, &state, 0); }) == program)
        uninterrupted([&] { return write(0, &state, sizeof state); });
}

// The write end gets a number beyond the standard streams, which the program's process overwrites.
Pipe makeSignPipe(LaunchPlan const& plan) {
    std::array<int, 2> ends = {-1, -1};
    if (pipe2(ends.data(), O_CLOEXEC) == -1)
        fail(plan, LaunchStep::Pipe);
    Pipe pipe = {Descriptor(ends[0]), Descriptor(fcntl(ends[1], F_DUPFD_CLOEXEC, kFirstOtherDescriptor))};
    if (!pipe.writing.isOpen())
        fail(plan, LaunchStep::Pipe);
    close(ends[1]);
    return pipe;
}

// This process keeps the starter's rights. A process that takes another account's gets memory of its own,
// because in shared memory that account could interfere with this one.
pid_t makeProgram(LaunchPlan const& plan, int sign) {
    pid_t const program = plan.changesAccount ? _Fork() : vfork();
    if (program == 0)
        becomeProgram(plan, sign);
    return program;
}

// Only the program's process holds the pipe's other end, so the pipe ends when that process runs the program
// or ends itself.
void awaitProgram(Pipe pipe) {
    pipe.writing.reset();
    char nothing = 0;
    uninterrupted([&] { return read(pipe.reading.get(), &nothing, sizeof nothing); });
}

// This process has memory of its own, so the starter does not wait in vfork() while this waits.
[[noreturn]] void standBetween(LaunchPlan const& plan) {
    rememberChildren();
    if (plan.leavesParent)
        makeStep(plan, LaunchStep::Session, setsid);
    Pipe pipe = makeSignPipe(plan);
    pid_t const program = makeProgram(plan, pipe.writing.get());
    if (program == -1)
        fail(plan, LaunchStep::Fork);
    awaitProgram(std::move(pipe));
    report(plan, LaunchStep::Done);
    if (plan.endReport != -1)
        reportEnd(plan, program);
    _exit(0);
}

} // namespace

void performPlan(LaunchPlan const& plan) noexcept {
    if (plan.needsProcessBetween())
        standBetween(plan);
    becomeProgram(plan, -1);
}

} // namespace fdn
