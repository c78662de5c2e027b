#include <dmn/CDaemonController.h>

#include <fdn/CError.h>
#include <fdn/CExecCommand.h>
#include <fdn/CFileSystemIterator.h>
#include <fdn/CImpersonateInfo.h>
#include <fdn/CPIDFile.h>
#include <fdn/CSystemAccountManager.h>
#include <fdn/CThread.h>
#include <fdn/CTime.h>
#include <fdn/files.h>
#include <fdn/log.h>
#include <fdn/programs.h>
#include <fdn/sysError.h>
#include <fdn/system/Descriptor.h>

#include <dmn/id/DaemonId.h>
#include <dmn/script/InitScript.h>
#include <dmn/start/StartSettings.h>
#include <dmn/start/TransientFolder.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <iterator>

#include <signal.h>
#include <stdio.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace dmn {

namespace {

constexpr unsigned kPollIntervalMs = 50;
constexpr int kDeleteAttempts = 20;
constexpr int kScriptMode = 0755;

fdn::Path normalise(fdn::Path const& path) {
    return path.toNormalized(true, fdn::Path());
}

bool isHaltOrReboot(int level) {
    return level == 0 || level == 6;
}

// Deletes what an earlier installation left, whatever it is.
void deleteIfThere(fdn::Path const& path) {
    fdn::deleteFile(path, true, kDeleteAttempts, true);
}

// Whether the name is that of a start or kill link of this ID, with a sequence number of two characters, by
// whatever tool it was numbered.
bool isLinkNameOf(fdn::String const& id, fdn::String const& name) {
    return (name.StartsWith("K") || name.StartsWith("S")) && name.EndsWith(id) &&
           name.length() == id.length() + 3;
}

/// Polls until the check answers something other than the default answer, or the time-out passes. The check
/// is made at least once; the clock is only read after a check that failed.
template <class Check>
auto poll(int timeoutMs, Check const& check) -> decltype(check()) {
    std::int64_t const deadline =
        fdn::CTime::now().getMicroseconds() + static_cast<std::int64_t>(timeoutMs) * 1000;
    for (;;) {
        if (auto const answer = check())
            return answer;
        if (fdn::CTime::now().getMicroseconds() >= deadline)
            return {};
        fdn::CThread::sleep(kPollIntervalMs);
    }
}

// Whether every init script has the setting.
bool isStored(fdn::String const& attr) {
    constexpr char const* stored[] = {"ControlFolder",        "RunAs",  "TransientFolderAppID",
                                      "TransientFolderGroup", "Params", "ExePath"};
    return std::find(std::begin(stored), std::end(stored), attr) != std::end(stored);
}

fdn::CExecCommand composeDaemonCommand(fdn::String const& id, StartSettings const& settings) {
    fdn::TArray<fdn::String> arguments{
        "--id=" + id, "--controlFolder=" + normalise(settings.controlFolder).getText(), "daemon"};
    for (fdn::String const& param : splitParameterLine(settings.params))
        arguments.push_back(param);
    return fdn::CExecCommand(settings.exePath, arguments);
}

fdn::P<fdn::CImpersonateInfo> makeImpersonation(fdn::String const& runAs) {
    if (runAs.empty())
        return nullptr;
    fdn::CSystemAccountManager& accounts = fdn::CSystemAccountManager::get();
    auto impersonation = fdn::newObj<fdn::CImpersonateInfo>(accounts.getUserID(runAs));
    if (!accounts.isProcessUserAdmin())
        throw fdn::CError("Error: Root privileges required.");
    return impersonation;
}

FolderOwner getTransientFolderOwner(StartSettings const& settings) {
    fdn::CSystemAccountManager const& accounts = fdn::CSystemAccountManager::get();
    bool const hasGroup = !settings.transientFolderGroup.empty();
    return {settings.runAs.empty() ? 0 : accounts.getUserID(settings.runAs).getUID(),
            accounts.getGroupID(hasGroup ? settings.transientFolderGroup : settings.runAs).getGID()};
}

// Whether the system knows how; what came of it does not matter.
bool signalByHandle(fdn::Descriptor const& process) {
    return process.isOpen() &&
           (syscall(SYS_pidfd_send_signal, process.get(), SIGTERM, nullptr, 0) == 0 || errno != ENOSYS);
}

// The outcome shows in the PID file alone: the process may as well be gone by now. Kernels before 5.3, and
// sandboxes, know no handle, or nothing to do with one.
void terminate(fdn::Descriptor const& process, pid_t pid) {
    if (!signalByHandle(process))
        kill(pid, SIGTERM);
}

void prepareTransientFolder(StartSettings const& settings) {
    fdn::String const& appID = settings.transientFolderAppID;
    if (appID.empty())
        return;
    if (appID.find('/') != fdn::String::npos)
        throw fdn::CError("Invalid transient folder app id: '" + appID + "'.");
    if (!fdn::folderExists(getTransientFolder(appID)))
        makeTransientFolder(appID, getTransientFolderOwner(settings));
}

} // namespace

CDaemonController::CMakeRoot::CMakeRoot() : m_effectiveUser(geteuid()) {
    if (setreuid(static_cast<uid_t>(-1), 0) == 0)
        return;
    if (errno == EPERM)
        throw fdn::CError("The process does not have the necessary root privileges for this operation.");
    fdn::throwLastSysError("setreuid", "CDaemonController::CMakeRoot constructor");
}

CDaemonController::CMakeRoot::~CMakeRoot() {
    // A failure cannot be reported from here, and to become the user that one was cannot fail.
    static_cast<void>(seteuid(m_effectiveUser) != 0);
}

CDaemonController::CDaemonController(fdn::String const& id, fdn::Path const& controlFolder)
    : m_id(id), m_controlFolder(controlFolder) {}

CDaemonController::~CDaemonController() = default;

void CDaemonController::install(CDaemonInfo const& info, fdn::String const& id,
                                fdn::Path const& controlFolder, fdn::String runAs, fdn::String,
                                fdn::String transientFolderAppID, fdn::String transientFolderGroup) {
    fdn::logInfo("Installing daemon '" + id + "'...");
    CMakeRoot const root;
    requireArguments(info.params);
    try {
        fdn::Path const script =
            createInitScript(info, id, controlFolder, runAs, transientFolderAppID, transientFolderGroup);
        createRunLevelLinks(script, id, info.startAtBoot);
    } catch (...) {
        try {
            uninstall(id, fdn::Path());
        } catch (...) { // NOLINT(bugprone-empty-catch): the first error is the one to report
        }
        throw;
    }
    fdn::logInfo("Done installing daemon '" + id + "'.");
}

fdn::Path CDaemonController::createInitScript(CDaemonInfo const& info, fdn::String const& id,
                                              fdn::Path const& controlFolder, fdn::String const& runAs,
                                              fdn::String const& transientFolderAppID,
                                              fdn::String const& transientFolderGroup) {
    fdn::Path const script = getInitScriptPath(id);
    fdn::String const text = composeInitScript(
        {id, runAs, transientFolderAppID, transientFolderGroup, info.displayName, normalise(controlFolder),
         normalise(info.exePath), composeParameterLine(info.params), normalise(script)});
    fdn::writeUTF8TextFile(script.getText(), text, kScriptMode);
    // Against the umask, and the mode of a script that was there.
    wxCharBuffer const name = fdn::toFileName(script);
    if (chmod(name, kScriptMode) != 0)
        fdn::throwLastSysError("chmod", "CDaemonController::createInitScript", script);
    return script;
}

void CDaemonController::createRunLevelLinks(fdn::Path const& script, fdn::String const& id,
                                            bool startAtBoot) {
    for (int const level : {0, 2, 3, 4, 5, 6}) {
        if (!startAtBoot && !isHaltOrReboot(level))
            continue;
        fdn::Path const link = getRunLevelDir(level) << fdn::Path(getRunLevelLinkName(level, id));
        deleteIfThere(link);
        fdn::createFileSymLink(script, link);
    }
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
    deleteIfThere(getInitScriptPath(id));
}

void CDaemonController::removeRunLevelLinks(fdn::String const& id) {
    for (int const level : {0, 2, 3, 4, 5, 6}) {
        fdn::CFileSystemIterator entries(getRunLevelDir(level));
        while (entries.next()) {
            if (isLinkNameOf(id, entries.getItemName()))
                deleteIfThere(entries.getItemPath());
        }
    }
}

void CDaemonController::uninstall() {
    fdn::logInfo("Uninstalling daemon '" + m_id + "'...");
    requireDaemonId(m_id);
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
    fdn::CExecCommand const command = composeDaemonCommand(m_id, settings);
    fdn::P<fdn::CImpersonateInfo> const impersonation = makeImpersonation(settings.runAs);
    prepareTransientFolder(settings);
    fdn::forkAndExec(command, impersonation.get(), fdn::ForkExecLevel::Detached, settings.controlFolder,
                     nullptr, nullptr, nullptr, nullptr);
    fdn::logInfo("Done starting daemon '" + m_id + "'.");
}

void CDaemonController::stop(fdn::Path const& controlFolder, fdn::String const& id) {
    requireDaemonId(id);
    CMakeRoot const root;
    int const pid = getActivePID(controlFolder, id);
    if (pid < 1)
        return;
    // The handle stays with the process; the number may be another one's by now.
    fdn::Descriptor const process(static_cast<int>(syscall(SYS_pidfd_open, pid, 0)));
    if (getActivePID(controlFolder, id) == pid)
        terminate(process, pid);
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
    return poll(timeoutMs, [&] { return (this->*predicate)() == expected; });
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
    return poll(timeoutMs, [this] { return checkRunningAndReady(); });
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
    requireDaemonId(id);
    for (char const* const folder : {"/etc/init.d", "/etc/rc.d/init.d"}) {
        if (fdn::folderExists(fdn::Path(folder)))
            return fdn::Path(folder) << fdn::Path(id);
    }
    throw fdn::CError("Unknown Linux flavor (cannot locate init.d directory).");
}

fdn::String CDaemonController::getDaemonAttribute(fdn::String const& id, fdn::String const& attr) {
    fdn::CExecCommand const command(getInitScriptPath(id), {"print" + attr});
    fdn::String output = fdn::execSyncReturnOutputAsString(command, false, nullptr, fdn::Path());
    // The echo of an empty setting prints a line. A shell that cannot read a script to its end prints
    // nothing, and may say that all is well.
    if (output.empty() && isStored(attr))
        throw fdn::CError("The init script '" + command.getProgram().getText() +
                          "' has printed nothing for the setting '" + attr + "'.");
    output.Trim(true).Trim(false);
    return output;
}

fdn::String CDaemonController::getDaemonParams(fdn::String const& id) {
    return getDaemonAttribute(id, "Params");
}

fdn::String CDaemonController::getDaemonRunAs(fdn::String const& id) {
    return getDaemonAttribute(id, "RunAs");
}

fdn::String CDaemonController::getDaemonTransientFolderAppID(fdn::String const& id) {
    return getDaemonAttribute(id, "TransientFolderAppID");
}

fdn::String CDaemonController::getDaemonTransientFolderGroup(fdn::String const& id) {
    return getDaemonAttribute(id, "TransientFolderGroup");
}

fdn::Path CDaemonController::getControlFolder(fdn::String const& id) {
    return fdn::Path(getDaemonAttribute(id, "ControlFolder"));
}

fdn::Path CDaemonController::getDaemonExePath(fdn::String const& id) {
    return fdn::Path(getDaemonAttribute(id, "ExePath"));
}

fdn::Path CDaemonController::getRunLevelDir(int level) {
    fdn::String const name = fdn::String::Format("rc%d.d", level);
    for (char const* const folder : {"/etc", "/etc/rc.d"}) {
        fdn::Path const candidate = fdn::Path(folder) << fdn::Path(name);
        if (fdn::folderExists(candidate))
            return candidate;
    }
    throw fdn::CError("Unknown Linux flavor (cannot locate " + name + " directory).");
}

fdn::String CDaemonController::getRunLevelLinkName(int level, fdn::String const& id) {
    return (isHaltOrReboot(level) ? "K10" : "S90") + id;
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
