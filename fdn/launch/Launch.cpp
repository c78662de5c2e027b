#include <fdn/launch/Launch.h>

#include <fdn/CError.h>
#include <fdn/CThread.h>
#include <fdn/launch/ChildProcess.h>
#include <fdn/sysError.h>
#include <fdn/system/AllSignalsBlocked.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fdn {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kLongestEnd = std::chrono::seconds(1); // of a process that is killed
constexpr unsigned kPause = 1;                                // milliseconds
constexpr std::size_t kMostReports = 16;                      // of one start, about

// How far a start has come.
struct LaunchOutcome {
    LaunchReport last = {LaunchStep::Fork, 0, 0}; // the last step that was begun, or has failed
    bool isComplete = false;                      // nothing more will be reported

    bool hasSucceeded() const { return isComplete && last.step == LaunchStep::Program && last.error == 0; }
};

LaunchPlan complete(LaunchPlan plan, StandardStreams const& streams, Descriptor const& reports) {
    for (std::size_t i = 0; i < streams.size(); ++i)
        plan.streams[i] = streams[i].child.get();
    plan.reports = reports.get();
    return plan;
}

// A process that takes another account's rights has its memory marked as not to be dumped (prctl,
// PR_SET_DUMPABLE), which this one wants to keep as it is. One that waits between must not keep this one
// waiting, too.
bool needsOwnMemory(LaunchPlan const& plan) {
    return plan.changesAccount || plan.needsProcessBetween();
}

// Returns in the calling process alone, with the identifier of the new one or -1. Until it is the program,
// the new one uses this one's memory if it can: to copy even the tables of that would take longer than all
// the rest, and the longer the larger the program is. It writes to nothing there but its part of the stack,
// and `isDecided`: vfork() returns when the program runs, or the process has ended. Not so where it makes a
// copy of the memory, as under some tools that analyse a program.
pid_t makeProcess(LaunchPlan const& plan, bool volatile& isDecided) {
    AllSignalsBlocked const blocked;
    pid_t const child = needsOwnMemory(plan) ? _Fork() : vfork();
    if (child == 0) {
        isDecided = true;
        perform(plan);
    }
    return child;
}

int getMillisecondsUntil(steady_clock::time_point deadline) {
    auto const rest = std::chrono::ceil<milliseconds>(deadline - steady_clock::now());
    return static_cast<int>(std::max(rest, milliseconds(0)).count());
}

// Whether there is something to read, or nothing will be any more.
bool awaitReports(Descriptor const& reports, steady_clock::time_point deadline) {
    pollfd ready = {reports.get(), POLLIN, 0};
    return uninterrupted([&] { return poll(&ready, 1, getMillisecondsUntil(deadline)); }) != 0;
}

void take(LaunchReport const& report, LaunchOutcome& outcome) {
    outcome.isComplete = report.step == LaunchStep::Done || report.error != 0;
    if (report.step != LaunchStep::Done)
        outcome.last = report;
}

// The pipe is at its end when the program runs, or the processes have ended. Where another thread has made a
// process meanwhile, that one holds the pipe for as long as it likes, so the last report says that it is.
LaunchOutcome awaitOutcome(Descriptor const& reports, milliseconds longest) {
    auto const deadline = steady_clock::now() + longest;
    LaunchOutcome outcome;
    std::array<LaunchReport, kMostReports> several = {};
    while (!outcome.isComplete && awaitReports(reports, deadline)) {
        ssize_t const length =
            uninterrupted([&] { return read(reports.get(), several.data(), sizeof several); });
        for (ssize_t i = 0; i < length / static_cast<ssize_t>(sizeof(LaunchReport)); ++i)
            take(several[static_cast<std::size_t>(i)], outcome);
        if (length <= 0)
            outcome.isComplete = true;
    }
    return outcome;
}

// Where another process may hold the pipe and nobody says that nothing more comes, a program that was to be
// entered counts as one that runs.
LaunchOutcome awaitOutcome(LaunchRequest const& request, LaunchPlan const& plan, Descriptor const& reports,
                           bool isDecided) {
    LaunchOutcome outcome = awaitOutcome(reports, isDecided ? milliseconds(0) : request.longestLaunch);
    if (isDecided || (!plan.needsProcessBetween() && outcome.last.step == LaunchStep::Program))
        outcome.isComplete = true;
    return outcome;
}

char const* getFunction(LaunchStep step) {
    switch (step) {
    case LaunchStep::Fork:
        return "vfork";
    case LaunchStep::Session:
        return "setsid";
    case LaunchStep::Pipe:
        return "pipe2";
    case LaunchStep::Streams:
        return "dup2";
    case LaunchStep::Group:
        return "setresgid";
    case LaunchStep::SupplementaryGroups:
        return "setgroups";
    case LaunchStep::User:
        return "setresuid";
    case LaunchStep::Folder:
        return "chdir";
    case LaunchStep::Program:
        return "execve";
    case LaunchStep::Done:
        break;
    }
    return "";
}

bool changesAccount(LaunchStep step) {
    return step == LaunchStep::Group || step == LaunchStep::SupplementaryGroups || step == LaunchStep::User;
}

CProps describe(LaunchRequest const& request, LaunchStep step) {
    CProps props = {{"func", getFunction(step)}, {"action", "forkAndExec"}};
    if (changesAccount(step))
        props["account"] = request.impersonate->getUserID().getName();
    else
        props["program"] = request.command.getProgram().getText();
    if (step == LaunchStep::Folder)
        props["path"] = request.folder.getText();
    return props;
}

[[noreturn]] void failHanging(LaunchRequest const& request, LaunchStep step) {
    String const where = step == LaunchStep::Folder ? " for '" + request.folder.getText() + "'" : String();
    throw CError("The program '" + request.command.getProgram().getText() +
                     "' could not be started: " + getFunction(step) + " did not finish" + where + ".",
                 String(), ETIMEDOUT, describe(request, step), nullptr);
}

[[noreturn]] void fail(LaunchRequest const& request, LaunchOutcome const& outcome) {
    if (!outcome.isComplete)
        failHanging(request, outcome.last.step);
    if (outcome.last.error != 0)
        throwSysError(outcome.last.error, describe(request, outcome.last.step));
    throw CError("The program '" + request.command.getProgram().getText() +
                 "' was ended before it could run.");
}

// Not for ever: a process that is stuck in the kernel does not even end when it is killed.
void reapSoon(pid_t process) {
    auto const deadline = steady_clock::now() + kLongestEnd;
    while (waitpid(process, nullptr, WNOHANG) == 0 && steady_clock::now() < deadline)
        CThread::sleep(kPause);
}

// They may have been stopped, or hang. The program's process is in the group of the one in between, which has
// no other members.
void endProcesses(LaunchPlan const& plan, pid_t child) {
    if (plan.startsSession)
        kill(-child, SIGKILL);
    if (waitpid(child, nullptr, WNOHANG) == 0)
        kill(child, SIGKILL);
}

// Those that have reported a failure end by themselves, and their numbers may be others' by now.
void abandon(LaunchPlan const& plan, pid_t child, LaunchOutcome const& outcome) {
    if (!outcome.isComplete)
        endProcesses(plan, child);
    reapSoon(child);
    // Where this process inherits orphans, as the first one of a container does, it is its child now.
    pid_t const program = outcome.last.process;
    if (program > 0 && program != child)
        reapSoon(program);
}

} // namespace

pid_t launch(LaunchRequest const& request, StandardStreams& streams) {
    LaunchMaterial const material(request);
    Pipe reports = makePipe();
    LaunchPlan const plan = complete(material.getPlan(), streams, reports.writing);
    bool volatile isDecided = false;
    pid_t const child = makeProcess(plan, isDecided);
    if (child == -1)
        throwSysError(errno, describe(request, LaunchStep::Fork));
    reports.writing.reset();
    for (StandardStream& stream : streams)
        stream.child.reset();

    LaunchOutcome const outcome = awaitOutcome(request, plan, reports.reading, isDecided);
    if (!outcome.hasSucceeded()) {
        abandon(plan, child, outcome);
        fail(request, outcome);
    }
    if (plan.leavesParent)
        reap(child);
    return plan.ends != -1 ? child : outcome.last.process;
}

std::optional<int> reap(pid_t process) {
    int state = 0;
    if (uninterrupted([&] { return waitpid(process, &state, 0); }) != process)
        return std::nullopt;
    return state;
}

} // namespace fdn
