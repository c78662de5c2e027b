#include <fdn/launch/ChildProcess.h>

#include <fdn/launch/LaunchReport.h>
#include <fdn/launch/StandardStreams.h>
#include <fdn/launch/closeDescriptors.h>

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

constexpr int kExitStatusOfFailure = 127; // as of a shell that cannot run a program
constexpr int kFirstOtherDescriptor = 3;
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

void report(LaunchPlan const& plan, LaunchStep step, int error = 0) {
    LaunchReport const message = {step, getpid(), error};
    uninterrupted([&] { return write(plan.reports, &message, sizeof message); });
}

[[noreturn]] void fail(LaunchPlan const& plan, LaunchStep step) {
    report(plan, step, errno);
    _exit(kExitStatusOfFailure);
}

// Makes a step of which a system call is all.
template <class Call>
void make(LaunchPlan const& plan, LaunchStep step, Call call) {
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

// The user last: with the rights of another one the groups could not be changed any more.
void takeAccount(LaunchPlan const& plan) {
    make(plan, LaunchStep::Group, [&] { return syscall(kSetGroup, plan.group, plan.group, plan.group); });
    make(plan, LaunchStep::SupplementaryGroups,
         [&] { return syscall(kSetGroups, plan.groupCount, plan.groups); });
    make(plan, LaunchStep::User, [&] { return syscall(kSetUser, plan.user, plan.user, plan.user); });
    if (canBecomeRootAgain(plan)) {
        errno = EPERM;
        fail(plan, LaunchStep::User);
    }
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

// `sign` is what tells the process in between, by its end, that the program runs; -1 without one.
[[noreturn]] void becomeProgram(LaunchPlan const& plan, int sign) {
    // Nobody would wait for the program, or end it, without the process that stays between.
    if (plan.ends != -1)
        prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (plan.startsSession && !plan.leavesParent)
        make(plan, LaunchStep::Session, setsid);
    takeStreams(plan);
    // Before it can hang: whoever waits for the end of one of these must not wait for that.
    closeOthersBut(plan.reports, sign);
    if (plan.changesAccount)
        takeAccount(plan);
    if (plan.folder != nullptr)
        make(plan, LaunchStep::Folder, [&] { return chdir(plan.folder); });
    // From here on, what ends the process counts as having ended the program.
    make(plan, LaunchStep::Program, [&] {
        resetSignals();
        return execve(plan.program, plan.arguments, plan.environment);
    });
    _exit(kExitStatusOfFailure);
}

// The system forgets how a child has ended where SIGCHLD is ignored, which is inherited.
void rememberChildren() {
    struct sigaction standard = {};
    standard.sa_handler = SIG_DFL;
    sigaction(SIGCHLD, &standard, nullptr);
}

// The program, or the starter, may wait for another one to let go of its descriptors.
void reportEnd(LaunchPlan const& plan, pid_t program) {
    closeAllBut(plan.ends);
    int state = 0;
    if (uninterrupted([&] { return waitpid(program, &state, 0); }) == program)
        uninterrupted([&] { return write(0, &state, sizeof state); });
}

// The end that is written to is kept off the standard streams, whose numbers the program's process
// overwrites.
Pipe makeOwnPipe(LaunchPlan const& plan) {
    std::array<int, 2> ends = {-1, -1};
    if (pipe2(ends.data(), O_CLOEXEC) == -1)
        fail(plan, LaunchStep::Pipe);
    Pipe pipe = {Descriptor(ends[0]), Descriptor(fcntl(ends[1], F_DUPFD_CLOEXEC, kFirstOtherDescriptor))};
    if (!pipe.writing.isOpen())
        fail(plan, LaunchStep::Pipe);
    close(ends[1]);
    return pipe;
}

// With memory of its own, the program's process cannot lend an account whose rights it has taken a hand in
// this one, which keeps the starter's.
pid_t makeProgram(LaunchPlan const& plan, int sign) {
    pid_t const program = plan.changesAccount ? _Fork() : vfork();
    if (program == 0)
        becomeProgram(plan, sign);
    return program;
}

// Nobody but the program's process holds this pipe, so its end is that process's, or the start of the
// program.
void awaitProgram(Pipe pipe) {
    pipe.writing.reset();
    char nothing = 0;
    uninterrupted([&] { return read(pipe.reading.get(), &nothing, sizeof nothing); });
}

// This process has memory of its own, so it can wait here without keeping the starter.
[[noreturn]] void standBetween(LaunchPlan const& plan) {
    rememberChildren();
    if (plan.leavesParent)
        make(plan, LaunchStep::Session, setsid);
    Pipe pipe = makeOwnPipe(plan);
    pid_t const program = makeProgram(plan, pipe.writing.get());
    if (program == -1)
        fail(plan, LaunchStep::Fork);
    awaitProgram(std::move(pipe));
    report(plan, LaunchStep::Done);
    if (plan.ends != -1)
        reportEnd(plan, program);
    _exit(0);
}

} // namespace

void perform(LaunchPlan const& plan) noexcept {
    if (plan.needsProcessBetween())
        standBetween(plan);
    becomeProgram(plan, -1);
}

} // namespace fdn
