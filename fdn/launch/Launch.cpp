#include <fdn/launch/Launch.h>

#include <fdn/CThread.h>
#include <fdn/launch/ChildProcess.h>
#include <fdn/launch/LaunchError.h>
#include <fdn/launch/LaunchMaterial.h>
#include <fdn/launch/LaunchOutcome.h>
#include <fdn/system/AllSignalsBlocked.h>

#include <cerrno>
#include <chrono>
#include <csignal>

#include <sys/wait.h>
#include <unistd.h>

namespace fdn {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kLongestEnd = std::chrono::seconds(1); // of a process that is killed
constexpr unsigned kPauseMs = 1;

LaunchPlan complete(LaunchPlan plan, StandardStreams const& streams, Descriptor const& reports) {
    for (std::size_t i = 0; i < streams.size(); ++i)
        plan.streams[i] = streams[i].child.get();
    plan.reports = reports.get();
    return plan;
}

// When a process takes another account's rights, the kernel forbids dumping its memory (prctl,
// PR_SET_DUMPABLE): in borrowed memory, this process would lose its core dumps as well. And a process in
// between waits, which must not keep this one in vfork().
bool needsOwnMemory(LaunchPlan const& plan) {
    return plan.changesAccount || plan.needsProcessBetween();
}

// Returns in the calling process only: the identifier of the new one, or -1.
//
// A new process that needs no memory of its own borrows this one's until it runs the program. Copying even
// the page tables would take longer than all the rest, and longer still for a larger caller. The new process
// writes nothing there but its part of the stack and `isDecided`. vfork() returns once that process runs the
// program or has ended, so the flag then says that every report has been made. It stays false where vfork()
// copies the memory, as it does under some analysis tools.
pid_t makeProcess(LaunchPlan const& plan, bool volatile& isDecided) {
    AllSignalsBlocked const blocked;
    pid_t const child = needsOwnMemory(plan) ? _Fork() : vfork();
    if (child == 0) {
        isDecided = true;
        performPlan(plan);
    }
    return child;
}

// While another process may hold the pipe open and no report says that it was the last one, a program that
// was about to be entered counts as running.
LaunchOutcome awaitDecision(LaunchRequest const& request, LaunchPlan const& plan, Descriptor const& reports,
                            bool isDecided) {
    LaunchOutcome outcome = awaitOutcome(reports, isDecided ? milliseconds(0) : request.longestLaunch);
    if (isDecided || (!plan.needsProcessBetween() && outcome.last.step == LaunchStep::Program))
        outcome.isComplete = true;
    return outcome;
}

// Waits only so long, because a process that is stuck in the kernel does not end even when it is killed.
void reapSoon(pid_t process) {
    auto const deadline = steady_clock::now() + kLongestEnd;
    while (waitpid(process, nullptr, WNOHANG) == 0 && steady_clock::now() < deadline)
        CThread::sleep(kPauseMs);
}

// SIGKILL, because they may hang or have been stopped. The group of the process in between has no member
// besides it but the program's process.
void endProcesses(LaunchPlan const& plan, pid_t child) {
    if (plan.startsSession)
        kill(-child, SIGKILL);
    if (waitpid(child, nullptr, WNOHANG) == 0)
        kill(child, SIGKILL);
}

// Processes that have reported a failure end by themselves. They are not killed, because their numbers may
// belong to others by now.
void abandon(LaunchPlan const& plan, pid_t child, LaunchOutcome const& outcome) {
    if (!outcome.isComplete)
        endProcesses(plan, child);
    reapSoon(child);
    // A process that inherits orphans, as the first one of a container does, is its parent now.
    pid_t const program = outcome.last.process;
    if (program > 0 && program != child)
        reapSoon(program);
}

} // namespace

pid_t launch(LaunchRequest const& request, StandardStreams& streams) {
    LaunchMaterial const material(request);
    Pipe reports = makePipe("forkAndExec");
    LaunchPlan const plan = complete(material.getPlan(), streams, reports.writing);
    bool volatile isDecided = false;
    pid_t const child = makeProcess(plan, isDecided);
    if (child == -1)
        throwLaunchError(request, {{LaunchStep::Fork, 0, errno}, true});
    reports.writing.reset();
    for (StandardStream& stream : streams)
        stream.child.reset();

    LaunchOutcome const outcome = awaitDecision(request, plan, reports.reading, isDecided);
    if (!outcome.hasSucceeded()) {
        abandon(plan, child, outcome);
        throwLaunchError(request, outcome);
    }
    if (plan.leavesParent)
        reap(child);
    return plan.endReport != -1 ? child : outcome.last.process;
}

std::optional<int> reap(pid_t process) {
    int state = 0;
    if (uninterrupted([&] { return waitpid(process, &state, 0); }) != process)
        return std::nullopt;
    return state;
}

} // namespace fdn
