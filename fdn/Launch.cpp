#include <fdn/Launch.h>

#include <fdn/AllSignalsBlocked.h>
#include <fdn/CError.h>
#include <fdn/ChildProcess.h>
#include <fdn/sysError.h>

#include <cerrno>

#include <sys/wait.h>
#include <unistd.h>

namespace fdn {

namespace {

// What is known of a start once there is nobody left who could report.
struct LaunchOutcome {
    pid_t process = 0;
    LaunchStep failedStep = LaunchStep::Exist;
    int error = 0;

    bool hasFailed() const { return process <= 0 || error != 0; }
};

LaunchPlan complete(LaunchPlan plan, StandardStreams const& streams, Descriptor const& reports) {
    for (std::size_t i = 0; i < streams.size(); ++i)
        plan.streams[i] = streams[i].child.get();
    plan.reports = reports.get();
    return plan;
}

// A process that takes another account's rights has its memory marked as not to be dumped (prctl,
// PR_SET_DUMPABLE), which this one wants to keep as it is. A detached one gets memory of its own anyway.
bool needsOwnMemory(LaunchPlan const& plan) {
    return plan.changesAccount && !plan.leavesParent;
}

// Returns in the calling process alone, with the identifier of the new one or -1. Until it is the program,
// the new one uses this one's memory if it can: to copy even the tables of that would take longer than all
// the rest, and the longer the larger the program is. It writes to nothing there but its part of the stack.
pid_t forkAndBecomeProgram(LaunchPlan const& plan) {
    AllSignalsBlocked const blocked;
    pid_t const child = needsOwnMemory(plan) ? _Fork() : vfork();
    if (child == 0)
        becomeProgram(plan);
    return child;
}

// Both the start of the program and the end of the process close the pipe.
LaunchOutcome awaitOutcome(Descriptor const& reports) {
    LaunchOutcome outcome;
    LaunchReport report = {};
    while (uninterrupted([&] { return read(reports.get(), &report, sizeof report); }) == sizeof report) {
        if (report.step == LaunchStep::Exist) {
            outcome.process = report.value;
        } else {
            outcome.failedStep = report.step;
            outcome.error = report.value;
        }
    }
    return outcome;
}

char const* getFunction(LaunchStep step) {
    switch (step) {
    case LaunchStep::Exist:
        return "vfork";
    case LaunchStep::SecondFork:
        return "fork";
    case LaunchStep::Session:
        return "setsid";
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
    }
    return "";
}

bool changesAccount(LaunchStep step) {
    return step == LaunchStep::Group || step == LaunchStep::SupplementaryGroups || step == LaunchStep::User;
}

[[noreturn]] void fail(LaunchRequest const& request, LaunchStep step, int error) {
    CProps props = {{"func", getFunction(step)}, {"action", "forkAndExec"}};
    if (changesAccount(step))
        props["account"] = request.impersonate->getUserID().getName();
    else
        props["program"] = request.command.getProgram().getText();
    if (step == LaunchStep::Folder)
        props["path"] = request.folder.getText();
    throwSysError(error, props);
}

[[noreturn]] void fail(LaunchRequest const& request, LaunchOutcome const& outcome) {
    if (outcome.error != 0)
        fail(request, outcome.failedStep, outcome.error);
    throw CError("The program '" + request.command.getProgram().getText() +
                 "' was ended before it could run.");
}

// Waits for the processes of a start that are at their end: of a failed one all, else the one in between.
void reapEnding(pid_t child, LaunchOutcome const& outcome) {
    if (outcome.hasFailed() || child != outcome.process)
        reap(child);
    // Where this process inherits orphans, as the first one of a container does, the failed one is its
    // child now.
    if (outcome.hasFailed() && outcome.process > 0 && child != outcome.process)
        reap(outcome.process);
}

} // namespace

pid_t launch(LaunchRequest const& request, StandardStreams& streams) {
    LaunchMaterial const material(request);
    Pipe reports = makePipe();
    pid_t const child = forkAndBecomeProgram(complete(material.getPlan(), streams, reports.writing));
    if (child == -1)
        fail(request, LaunchStep::Exist, errno);
    reports.writing.reset();
    for (StandardStream& stream : streams)
        stream.child.reset();

    LaunchOutcome const outcome = awaitOutcome(reports.reading);
    reapEnding(child, outcome);
    if (outcome.hasFailed())
        fail(request, outcome);
    return outcome.process;
}

int reap(pid_t process) {
    int state = 0;
    uninterrupted([&] { return waitpid(process, &state, 0); });
    return state;
}

} // namespace fdn
