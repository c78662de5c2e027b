#include <dmn/CDaemonController.h>

#include <fdn/CError.h>
#include <fdn/CPIDFile.h>
#include <fdn/CProcessHandle.h>
#include <fdn/files.h>
#include <fdn/log.h>

#include <dmn/id/DaemonId.h>
#include <dmn/init/InitFolder.h>
#include <dmn/init/RunLevels.h>
#include <dmn/script/InitScript.h>
#include <dmn/script/InitScriptFile.h>
#include <dmn/script/ParameterLine.h>
#include <dmn/start/StartSettings.h>
#include <dmn/start/launchDaemon.h>
#include <dmn/wait/awaitAnswer.h>

#include <signal.h>

namespace dmn {

namespace {

fdn::Path normalize(fdn::Path const& path) {
    return path.toNormalized(true, fdn::Path());
}

// Cleans up after a failed installation, whose error is the one to report.
void uninstallQuietly(fdn::String const& id) {
    try {
        CDaemonController::uninstall(id, fdn::Path());
    } catch (...) { // NOLINT(bugprone-empty-catch): it gets as far as it can
    }
}

} // namespace

CDaemonController::CDaemonController(fdn::String const& id, fdn::Path const& controlFolder)
    : m_id(id), m_controlFolder(controlFolder) {}

CDaemonController::~CDaemonController() = default;

void CDaemonController::install(CDaemonInfo const& info, fdn::String const& id,
                                fdn::Path const& controlFolder, fdn::String runAs, fdn::String,
                                fdn::String transientFolderAppID, fdn::String transientFolderGroup) {
    fdn::logInfo("Installing daemon '" + id + "'...");
    CMakeRoot const root;
    requireArguments(info.params); // before an earlier installation is touched
    try {
        fdn::Path const script =
            createInitScript(info, id, controlFolder, runAs, transientFolderAppID, transientFolderGroup);
        createRunLevelLinks(script, id, info.startAtBoot);
    } catch (...) {
        uninstallQuietly(id);
        throw;
    }
    fdn::logInfo("Done installing daemon '" + id + "'.");
}

fdn::Path CDaemonController::createInitScript(CDaemonInfo const& info, fdn::String const& id,
                                              fdn::Path const& controlFolder, fdn::String const& runAs,
                                              fdn::String const& transientFolderAppID,
                                              fdn::String const& transientFolderGroup) {
    fdn::Path const script = getInitScriptPath(id);
    writeInitScript(script,
                    composeInitScript({id, runAs, transientFolderAppID, transientFolderGroup,
                                       info.displayName, normalize(controlFolder), normalize(info.exePath),
                                       composeParameterLine(info.params), normalize(script)}));
    return script;
}

void CDaemonController::uninstall(fdn::String const& id, fdn::Path const& controlFolder) {
    requireDaemonId(id);
    CMakeRoot const root;
    if (controlFolder.getText().empty())
        stop(id);
    else
        stop(controlFolder, id);
    removeRunLevelLinks(id);
    // Last, because the daemon counts as installed for as long as the script is there.
    deleteFromInitFolder(getInitScriptPath(id));
}

void CDaemonController::uninstall() {
    fdn::logInfo("Uninstalling daemon '" + m_id + "'...");
    requireDaemonId(m_id); // which isInstalled() does not report
    if (!isInstalled()) {
        fdn::logInfo("Nothing to do. Daemon not installed.");
        return;
    }
    uninstall(m_id, getControlFolder());
    fdn::logInfo("Finished uninstalling daemon.");
}

void CDaemonController::start() {
    fdn::logInfo("Starting daemon '" + m_id + "'...");
    CMakeRoot const root;
    StartSettings const settings = readStartSettings(m_id, m_controlFolder);
    m_controlFolder = settings.controlFolder;
    launchDaemon(m_id, settings, {});
    fdn::logInfo("Done starting daemon '" + m_id + "'.");
}

void CDaemonController::stop(fdn::Path const& controlFolder, fdn::String const& id) {
    requireDaemonId(id);
    CMakeRoot const root;
    int const pid = getActivePID(controlFolder, id);
    if (pid < 1)
        return;
    // The process may have ended since, and its number may be another process's. The handle stays with one
    // process, and the second look tells whether that is the daemon.
    fdn::CProcessHandle const process(pid);
    if (getActivePID(controlFolder, id) == pid)
        process.sendSignal(SIGTERM); // the outcome shows in the PID file: the process may just have ended
}

void CDaemonController::stop(fdn::String const& id) {
    stop(getControlFolder(id), id);
}

void CDaemonController::stop() {
    fdn::logInfo("Stopping daemon '" + m_id + "'...");
    stop(getControlFolder(), m_id);
    fdn::logInfo("Done stopping daemon '" + m_id + "'.");
}

bool CDaemonController::isInstalled() {
    return isDaemonId(m_id) && fdn::fileExists(getInitScriptPath(m_id));
}

bool CDaemonController::isStopped() {
    return !isInstalled() || getActivePID(getControlFolder(), m_id) < 1;
}

int CDaemonController::checkRunningAndReady() {
    return isStopped() ? 0 : -1;
}

bool CDaemonController::waitForStatus(bool (CDaemonController::*predicate)(), bool expected, int timeoutMs) {
    return awaitAnswer(timeoutMs, [&] { return (this->*predicate)() == expected; }) != 0;
}

bool CDaemonController::waitStopped(int timeoutMs) {
    return waitForStatus(&CDaemonController::isStopped, true, timeoutMs);
}

bool CDaemonController::waitInstalled(int timeoutMs) {
    return waitForStatus(&CDaemonController::isInstalled, true, timeoutMs);
}

bool CDaemonController::waitUninstalled(int timeoutMs) {
    return waitForStatus(&CDaemonController::isInstalled, false, timeoutMs);
}

int CDaemonController::waitRunningAndReady(int timeoutMs) {
    return awaitAnswer(timeoutMs, [this] { return checkRunningAndReady(); });
}

fdn::Path CDaemonController::getControlFolder() {
    if (m_controlFolder.getText().empty())
        m_controlFolder = getControlFolder(m_id);
    return m_controlFolder;
}

int CDaemonController::getActivePID(fdn::Path const& controlFolder, fdn::String const& id) {
    return isDaemonId(id) ? fdn::CPIDFile::getActivePID(getPIDFilePath(controlFolder, id)) : 0;
}

fdn::Path CDaemonController::getInitScriptPath(fdn::String const& id) {
    return locateInitScript(id);
}

fdn::String CDaemonController::getDaemonAttribute(fdn::String const& id, fdn::String const& attr) {
    return readSetting(id, attr);
}

fdn::String CDaemonController::getDaemonParams(fdn::String const& id) {
    return readSetting(id, setting::kParams);
}

fdn::String CDaemonController::getDaemonRunAs(fdn::String const& id) {
    return readSetting(id, setting::kRunAs);
}

fdn::String CDaemonController::getDaemonTransientFolderAppID(fdn::String const& id) {
    return readSetting(id, setting::kTransientFolderAppID);
}

fdn::String CDaemonController::getDaemonTransientFolderGroup(fdn::String const& id) {
    return readSetting(id, setting::kTransientFolderGroup);
}

fdn::Path CDaemonController::getControlFolder(fdn::String const& id) {
    return fdn::Path(readSetting(id, setting::kControlFolder));
}

fdn::Path CDaemonController::getDaemonExePath(fdn::String const& id) {
    return fdn::Path(readSetting(id, setting::kExePath));
}

fdn::Path CDaemonController::getRunLevelDir(int level) {
    return locateRunLevelFolder(level);
}

fdn::String CDaemonController::getRunLevelLinkName(int level, fdn::String const& id) {
    return composeRunLevelLinkName(level, id);
}

bool CDaemonController::isDisabled() {
    return false;
}

void CDaemonController::enable(bool) {}

void CDaemonController::disable() {
    throw fdn::CNotImplementedError("CDaemonController::disable");
}

fdn::String CDaemonController::getWindowsSpecialDaemonUserName(fdn::String const& id) {
    return "_" + id + "_";
}

} // namespace dmn
