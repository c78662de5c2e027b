#include <dmnctl/daemons/operations.h>

#include <dmnctl/boot/boot.h>
#include <dmnctl/commandline/exitStatus.h>
#include <dmnctl/daemons/statusText.h>
#include <dmnctl/daemons/systemctl.h>
#include <dmnctl/log/showLog.h>
#include <dmnctl/selection/selection.h>
#include <dmnctl/show/Notices.h>
#include <dmnctl/show/text.h>

#include <dmn/CDaemonStarter.h>
#include <dmn/CDaemonStopper.h>

#include <fdn/CError.h>

#include <cerrno>
#include <cstdio>
#include <functional>

#include <unistd.h>

namespace dmnctl {

namespace {

constexpr int kMilliseconds = 1000; // in a second
constexpr std::size_t kLastEntries = 10;

using Force = dmn::CDaemonStopper::Force;
using StopOutcome = dmn::CDaemonStopper::Outcome;

struct StopWish {
    int timeoutMs;
    Force force;
};

template <class Command>
StopWish wishOf(Command const& command) {
    return {command.timeoutSeconds * kMilliseconds, command.kill ? Force::Yes : Force::No};
}

void requireRoot(char const* command) {
    if (geteuid() != 0)
        throw fdn::CError(fdn::String("Only root can ") + command + " daemons. Try: sudo dmnctl " + command +
                          " ...");
}

// Start

void sayRunsAlready(fdn::String const& id, int process, Notices& notices) {
    notices.say(toPrintable(id) + " runs already " + describeProcess(process) + ".");
}

void startDirectly(fdn::String const& id, int timeoutMs, Notices& notices) {
    std::string const name = toPrintable(id);
    dmn::CDaemonStarter starter(id, fdn::Path());
    starter.setProgress([&](fdn::String const& step) { notices.say(name + ": " + toPrintable(step)); });
    if (starter.start(timeoutMs) == dmn::CDaemonStarter::Outcome::RunningAlready)
        return sayRunsAlready(id, starter.getProcess(), notices);
    notices.say(name + " is running " + describeProcess(starter.getProcess()) + ".");
}

// Where somebody has started the daemon without systemd, its unit could only fail.
void startThroughSystemd(fdn::String const& id, int timeoutMs, Notices& notices) {
    dmn::DaemonStatus const before = lookAtDaemon(id).status;
    if (before.state == dmn::DaemonState::Running)
        return sayRunsAlready(id, before.process, notices);
    startBySystemd(id, timeoutMs);
    notices.say(describeStatus(lookAtDaemon(id)));
}

void startOne(fdn::String const& id, int timeoutMs, Notices& notices) {
    if (isRunBySystemd(id))
        startThroughSystemd(id, timeoutMs, notices);
    else
        startDirectly(id, timeoutMs, notices);
}

void showLastEntries(fdn::String const& id) {
    try {
        std::string const entries = composeLastEntries(id, kLastEntries);
        if (entries.empty())
            return;
        printError("The last entries in the log of " + toUTF8(id) + ":");
        std::fwrite(entries.data(), 1, entries.size(), stderr);
    } catch (fdn::CError const& error) { // the start's own failure is the one to report
        printError("The log of " + toUTF8(id) + " cannot be read: " + toUTF8(error.getMessage()));
    }
}

// Stop

std::string describeStop(StopOutcome outcome, int process) {
    switch (outcome) {
    case StopOutcome::Stopped:
        return " has stopped.";
    case StopOutcome::Killed:
        return " did not stop and was ended by force " + describeProcess(process) + ".";
    case StopOutcome::WasNotRunning:
        break;
    }
    return " does not run.";
}

// Returns whether it is done.
bool tryStopBySystemd(fdn::String const& id, StopWish const& wish) {
    try {
        stopBySystemd(id, wish.timeoutMs);
        return true;
    } catch (fdn::CError const&) {
        if (wish.force == Force::No)
            throw;
        return false;
    }
}

// systemd does not know a process that somebody has started without it, and may leave one that does not stop.
StopOutcome stopThroughSystemd(fdn::String const& id, StopWish const& wish, dmn::CDaemonStopper& stopper) {
    bool const wasRunning = lookAtDaemon(id).status.state == dmn::DaemonState::Running;
    bool const isDone = tryStopBySystemd(id, wish);
    StopOutcome const outcome = stopper.stop(isDone ? wish.timeoutMs : 0, wish.force);
    return wasRunning && outcome == StopOutcome::WasNotRunning ? StopOutcome::Stopped : outcome;
}

void stopOne(fdn::String const& id, StopWish const& wish, Notices& notices) {
    dmn::CDaemonStopper stopper(id, fdn::Path());
    StopOutcome const outcome =
        isRunBySystemd(id) ? stopThroughSystemd(id, wish, stopper) : stopper.stop(wish.timeoutMs, wish.force);
    notices.say(toPrintable(id) + describeStop(outcome, stopper.getProcess()));
}

// Whoever has waited in vain wants to know what else can be done.
void nameRemedy(fdn::String const& id, std::function<void()> const& change) {
    try {
        change();
    } catch (fdn::CError const& error) {
        if (error.getCode() != ETIMEDOUT)
            throw;
        throw fdn::CError(error.getMessage() + " To end it by force: dmnctl stop --kill " + id);
    }
}

bool changeEach(Daemons const& daemons, DaemonAction const& change, DaemonAction const& afterFailure = {}) {
    auto const changeOne = [&](fdn::String const& id) { nameRemedy(id, [&] { change(id); }); };
    return performForEach(daemons, changeOne, afterFailure);
}

int finish(bool isDone, Daemons const& daemons, Notices& notices) {
    if (isDone && daemons.ids.empty() && selectDaemons(daemons).ids.empty())
        notices.say(composeNoDaemons());
    return notices.areSaid() && isDone ? kDone : kFailed;
}

} // namespace

int start(StartCommand const& command) {
    requireRoot("start");
    Notices notices;
    bool const isDone = changeEach(
        command.daemons,
        [&](fdn::String const& id) { startOne(id, command.timeoutSeconds * kMilliseconds, notices); },
        showLastEntries);
    return finish(isDone, command.daemons, notices);
}

int stop(StopCommand const& command) {
    requireRoot("stop");
    Notices notices;
    bool const isDone =
        changeEach(command.daemons, [&](fdn::String const& id) { stopOne(id, wishOf(command), notices); });
    return finish(isDone, command.daemons, notices);
}

int restart(RestartCommand const& command) {
    requireRoot("restart");
    Notices notices;
    auto const restartOne = [&](fdn::String const& id) {
        stopOne(id, wishOf(command), notices);
        startOne(id, command.timeoutSeconds * kMilliseconds, notices);
    };
    bool const isDone = changeEach(command.daemons, restartOne, showLastEntries);
    return finish(isDone, command.daemons, notices);
}

} // namespace dmnctl
