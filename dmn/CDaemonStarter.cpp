#include <dmn/CDaemonStarter.h>

#include <fdn/CError.h>
#include <fdn/CNotificationReceiver.h>
#include <fdn/CPIDFile.h>
#include <fdn/log.h>

#include <dmn/CDaemonController.h>
#include <dmn/id/DaemonId.h>
#include <dmn/readiness/ReadinessWatch.h>
#include <dmn/readiness/StartReport.h>
#include <dmn/readiness/Subreaper.h>
#include <dmn/script/ControlFolder.h>
#include <dmn/start/InstalledSettings.h>
#include <dmn/start/launchDaemon.h>
#include <dmn/start/provideControlFolder.h>
#include <dmn/wait/Deadline.h>

#include <utility>

namespace dmn {

namespace {

using Result = ReadinessWatch::Result;

StartSettings readSettings(fdn::String const& id, fdn::Path const& controlFolder) {
    StartSettings const settings = readInstalledSettings(id, controlFolder);
    requireControlFolder(id, settings.controlFolder);
    return settings;
}

Result await(ReadinessWatch& watch, Deadline const& deadline, StartReport const& report) {
    try {
        return watch.await(deadline);
    } catch (fdn::CError const& error) { // the daemon may come up all the same
        report.failUnwatched(watch.getProcess(), error);
    }
}

// By the name that the daemon gets to know it by, so that what it says about it is understood.
fdn::Path locatePIDFile(fdn::String const& id, StartSettings const& settings) {
    return getPIDFilePath(settings.controlFolder.toNormalized(true, fdn::Path()), id);
}

void requireSuccess(Result result, ReadinessWatch const& watch, int timeoutMs, StartReport const& report) {
    if (result == Result::Ended)
        report.failEnded(watch.getProcess(), watch.getEnd(), watch.getLastStatus());
    if (result == Result::Late)
        report.failLate(watch.getProcess(), timeoutMs, watch.getLastStatus());
}

} // namespace

CDaemonStarter::CDaemonStarter(fdn::String const& id, fdn::Path const& controlFolder)
    : m_id(id), m_controlFolder(controlFolder) {}

CDaemonStarter::~CDaemonStarter() = default;

void CDaemonStarter::setProgress(std::function<void(fdn::String const& step)> progress) {
    m_progress = std::move(progress);
}

CDaemonStarter::Outcome CDaemonStarter::start(int timeoutMs) {
    fdn::logInfo("Starting daemon '" + m_id + "'...");
    m_process = 0;
    Deadline const deadline(timeoutMs);
    CDaemonController::CMakeRoot const root;
    StartSettings const settings = readSettings(m_id, m_controlFolder);
    fdn::Path const pidFile = locatePIDFile(m_id, settings);
    m_process = fdn::CPIDFile::getActivePID(pidFile);
    if (m_process > 0)
        return Outcome::RunningAlready;

    provideControlFolder(settings); // one in /run is gone after each boot
    Subreaper const subreaper;      // before the launch, which makes an orphan
    LaterChildren const children;
    fdn::CNotificationReceiver receiver;
    pid_t const launched = launchDaemon(m_id, settings, {{"NOTIFY_SOCKET", receiver.getAddress()}});
    ReadinessWatch watch(pidFile, receiver, children, launched, m_progress);
    StartReport const report(m_id, settings);
    Result const result = await(watch, deadline, report);
    requireSuccess(result, watch, timeoutMs, report);
    m_process = watch.getProcess();
    fdn::logInfo("Done starting daemon '" + m_id + "'.");
    return result == Result::Ready ? Outcome::Started : Outcome::RunningAlready;
}

} // namespace dmn
