#include <dmn/CDaemonStopper.h>

#include <fdn/CError.h>
#include <fdn/CPIDFile.h>
#include <fdn/log.h>

#include <dmn/CDaemonController.h>
#include <dmn/id/DaemonId.h>
#include <dmn/script/ControlFolder.h>
#include <dmn/start/InstalledSettings.h>
#include <dmn/stop/DaemonProcess.h>
#include <dmn/wait/Deadline.h>

#include <cerrno>

namespace dmn {

namespace {

using Outcome = CDaemonStopper::Outcome;

fdn::Path locatePIDFile(fdn::String const& id, fdn::Path const& givenControlFolder) {
    fdn::Path const controlFolder = findInstalledControlFolder(id, givenControlFolder);
    requireControlFolder(id, controlFolder);
    return getPIDFilePath(controlFolder, id);
}

// Whoever starts it time and again would otherwise keep this process busy for ever.
void requireFirst(Outcome outcome, Deadline const& deadline, DaemonProcess const& process) {
    if (outcome != Outcome::WasNotRunning && deadline.hasPassed())
        throw fdn::CError(process.describe() + " was started again while it was to stop.");
}

Outcome end(DaemonProcess const& process, Deadline const& deadline, int timeoutMs,
            CDaemonStopper::Force force) {
    process.askToStop();
    if (process.awaitEnd(deadline))
        return Outcome::Stopped;
    if (force == CDaemonStopper::Force::No)
        throw fdn::CError(process.describe() + " has not ended after " + describeDuration(timeoutMs) +
                              " and goes on.",
                          "", ETIMEDOUT, {}, nullptr);
    process.kill();
    return Outcome::Killed;
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
        requireFirst(outcome, deadline, process);
        m_process = holder;
        outcome = end(process, deadline, timeoutMs, force);
    }
    fdn::logInfo("Done stopping daemon '" + m_id + "'.");
    return outcome;
}

} // namespace dmn
