#include <dmn/CDaemonStopper.h>

#include <fdn/CError.h>
#include <fdn/CPIDFile.h>
#include <fdn/log.h>

#include <dmn/CDaemonController.h>
#include <dmn/id/DaemonId.h>
#include <dmn/script/ControlFolder.h>
#include <dmn/stop/DaemonProcess.h>
#include <dmn/wait/Deadline.h>

namespace dmn {

namespace {

fdn::Path locatePIDFile(fdn::String const& id, fdn::Path const& givenControlFolder) {
    fdn::Path const controlFolder = findControlFolder(id, givenControlFolder);
    requireControlFolder(id, controlFolder);
    return getPIDFilePath(controlFolder, id);
}

fdn::String describe(fdn::String const& id, DaemonProcess const& process) {
    return "The daemon '" + id + fdn::String::Format("' (process %d)", process.getNumber());
}

[[noreturn]] void failLate(fdn::String const& id, DaemonProcess const& process, int timeoutMs) {
    throw fdn::CError(describe(id, process) + " has not ended after " + describeDuration(timeoutMs) +
                      " and goes on. The command 'stop --kill' ends it by force.");
}

// Whoever starts it time and again would otherwise keep this process busy for ever.
void requireFirst(CDaemonStopper::Outcome outcome, Deadline const& deadline, fdn::String const& id,
                  DaemonProcess const& process) {
    if (outcome != CDaemonStopper::Outcome::WasNotRunning && deadline.hasPassed())
        throw fdn::CError(describe(id, process) + " was started again while it was to stop.");
}

} // namespace

CDaemonStopper::CDaemonStopper(fdn::String const& id, fdn::Path const& controlFolder)
    : m_id(id), m_controlFolder(controlFolder) {}

CDaemonStopper::Outcome CDaemonStopper::stop(int timeoutMs, Force force) {
    fdn::logInfo("Stopping daemon '" + m_id + "'...");
    m_process = 0;
    requireDaemonId(m_id);
    CDaemonController::CMakeRoot const root;
    Deadline const deadline(timeoutMs);
    fdn::Path const pidFile = locatePIDFile(m_id, m_controlFolder);

    Outcome outcome = Outcome::WasNotRunning;
    while (int const holder = fdn::CPIDFile::getActivePID(pidFile)) {
        DaemonProcess const process(m_id, pidFile, holder);
        // It may have ended since the look, and its number may be another process's. The handle stays with
        // one process, and the second look tells whether that is the daemon.
        if (!process.isHolder())
            continue;
        requireFirst(outcome, deadline, m_id, process);
        m_process = holder;
        process.askToStop();
        outcome = Outcome::Stopped;
        if (process.awaitEnd(deadline))
            continue;
        if (force == Force::No)
            failLate(m_id, process, timeoutMs);
        process.kill();
        outcome = Outcome::Killed;
    }
    fdn::logInfo("Done stopping daemon '" + m_id + "'.");
    return outcome;
}

} // namespace dmn
