#include <dmn/CDaemonEntry.h>

#include <fdn/CError.h>
#include <fdn/CFdnInit.h>
#include <fdn/CXMLLog.h>
#include <fdn/files.h>
#include <fdn/log.h>
#include <fdn/notify.h>

#include <dmn/commandline/CommandLine.h>
#include <dmn/commandline/StandardOptions.h>
#include <dmn/commandline/TimeoutOption.h>
#include <dmn/commandline/printText.h>
#include <dmn/commandline/runsDaemon.h>
#include <dmn/entry/EntryPolicy.h>
#include <dmn/entry/exitStatus.h>
#include <dmn/runtime/RunReport.h>

#include <algorithm>
#include <cstdio>

namespace dmn {

namespace {

void storeText(wxCmdLineParser const& parser, char const* option, fdn::String& field) {
    wxString text;
    if (parser.Found(option, &text))
        field = text;
}

void logBadCommandLine(int parseResult, fdn::String const& arguments) {
    fdn::logError("Bad commandline (parseResult: " + fdn::String::Format("%d", parseResult) +
                  "; args: " + arguments + ").");
}

// The log's text names the daemon; the user's does not, because the user has just named it.
[[noreturn]] void failAfterTimeout(fdn::String const& logged, fdn::String const& shown) {
    fdn::logError(logged);
    throw fdn::CError(shown);
}

// As long as the command line is not parsed, each argument may be the command.
bool mayRunDaemon(int argc, char** argv) {
    return std::any_of(argv, argv + argc, [](char const* argument) { return runsDaemon(argument); });
}

void logEscapedError(std::exception const& error) {
    try {
        fdn::logError(error, "exception in entry function", "CDaemonEntry::entry");
    } catch (std::exception const&) { // NOLINT(bugprone-empty-catch): the first error is the one to report
    }
}

/// Shows the policy the daemon while it runs.
class ShownDaemon {
public:
    ShownDaemon(EntryPolicy& policy, CDaemon* daemon) : m_policy(policy) { m_policy.setDaemon(daemon); }

    ShownDaemon(ShownDaemon const&) = delete;
    ShownDaemon& operator=(ShownDaemon const&) = delete;

    ~ShownDaemon() { m_policy.setDaemon(nullptr); }

private:
    EntryPolicy& m_policy;
};

} // namespace

CDaemonEntry::CSignalHandler::CSignalHandler() = default;

CDaemonEntry::CSignalHandler::~CSignalHandler() = default;

void CDaemonEntry::CSignalHandler::handleSystemSignal(fdn::SysSignal) {
    // The lock is kept for the call, so that detaching waits for it, and the manager cannot disappear
    // meanwhile.
    fdn::CMutexLock const lock(m_mutex);
    m_stopRequested = true;
    if (m_daemonManager)
        m_daemonManager->signalStop();
}

void CDaemonEntry::CSignalHandler::setDaemonManager(CDaemonManager* manager) {
    fdn::CMutexLock const lock(m_mutex);
    m_daemonManager = manager;
    if (m_stopRequested && m_daemonManager)
        m_daemonManager->signalStop();
}

CDaemonEntry::CDaemonEntry() = default;

CDaemonEntry::~CDaemonEntry() = default;

void CDaemonEntry::setPolicy(EntryPolicy& policy) {
    m_reserved = &policy;
}

EntryPolicy& CDaemonEntry::getPolicy() const {
    static EntryPolicy own;
    return m_reserved == nullptr ? own : *static_cast<EntryPolicy*>(m_reserved);
}

int CDaemonEntry::entry(int argc, char** argv) {
    fdn::openMissingStandardStreams();
    try {
        fdn::CFdnInit const foundation(true);
        fdn::CXMLLog::CGlobalLogCloser const logCloser;
        return performLogged(argc, argv);
    } catch (std::exception const& e) {
        printFatalError(e);
        return kStatusFailed;
    } catch (...) {
        // Without any handler for it, the process would end before the objects above are destroyed.
        throw;
    }
}

int CDaemonEntry::performLogged(int argc, char** argv) {
    try {
        return perform(argc, argv);
    } catch (std::exception const& e) {
        logEscapedError(e);
        if (m_command.empty() ? mayRunDaemon(argc, argv) : runsDaemon(m_command))
            tellSupervisor(e);
        throw;
    }
}

// Of a run that has begun, the manager has told it.
void CDaemonEntry::tellSupervisor(std::exception const& error) {
    fdn::P<CDaemonManager> const manager = getDaemonManager();
    if (!(manager && manager->hasEnded()))
        RunReport::tellFailure(error);
}

int CDaemonEntry::perform(int argc, char** argv) {
    fdn::keepSupervisor(); // before the application starts threads
    init();
    registerSignalHandler();

    CommandLine const line(argc, argv);
    wxCmdLineParser parser;
    line.giveTo(parser);
    declareArguments(parser);
    int result = getPolicy().parse(line, parser);
    if (result == 0)
        result = takeCommand(parser);
    if (result != 0) {
        logBadCommandLine(result, line.describe(parser));
        getPolicy().showCommands();
        return result;
    }
    performCommand(parser, argv[0]);
    return getPolicy().getExitStatus();
}

// From here on a signal is kept until there is a manager. The handler is never removed: a signal that comes
// after the daemon has ended must not change the exit status.
void CDaemonEntry::registerSignalHandler() {
    m_signalHandler = fdn::newObj<CSignalHandler>();
    fdn::P<fdn::CSystemSignalReceiver> const receiver(&fdn::CSystemSignalReceiver::get());
    fdn::P<fdn::ISystemSignalHandler> const handler = getPolicy().chooseTerminationHandler(m_signalHandler);
    receiver->setHandler(fdn::SysSignal::Terminate, handler.get());
}

void CDaemonEntry::declareArguments(wxCmdLineParser& parser) {
    parser.SetSwitchChars("-");
    parser.AddParam("COMMAND", wxCMD_LINE_VAL_STRING, wxCMD_LINE_OPTION_MANDATORY);
    addCommandLineOptions(parser);
}

int CDaemonEntry::takeCommand(wxCmdLineParser& parser) {
    m_command = parser.GetParam(0);
    if (verifyCommandParams(m_command, parser))
        return 0;
    getPolicy().showUsage(parser);
    return kStatusRefused;
}

void CDaemonEntry::performCommand(wxCmdLineParser& parser, char const* program) {
    // Only for the log: what installation runs is in the application's description of its daemon.
    m_exePath = fdn::Path(readArgument(program)).toNormalized(true, fdn::Path());
    bool const makesControlFolder = getPolicy().beginCommand(m_command);
    handleCommandParams(parser);
    if (makesControlFolder && !m_controlFolder.getText().empty())
        fdn::ensureFolderExists(m_controlFolder, 0777);
    onCommandLineParsed();

    m_daemonInfo = describeDaemon();
    m_daemonId = m_idOption.empty() ? m_daemonInfo->defaultId : m_idOption;
    m_controller = fdn::newObj<CDaemonController>(m_daemonId, m_controlFolder);

    fdn::logInfo("Performing command '" + m_command + "', controlFolder='" + m_controlFolder.getText() +
                 "', exePath='" + m_exePath.getText() + "'.");
    doCommand(m_command);
    fdn::logInfo(
        fdn::String::Format("Finished command. Returning exit code %d.", getPolicy().getExitStatus()));
}

fdn::P<CDaemonInfo> CDaemonEntry::describeDaemon() {
    fdn::P<CDaemonInfo> const info = createDaemonInfo();
    if (!info)
        throw fdn::CError("The application gave no description of its daemon.");
    return info;
}

void CDaemonEntry::dispose() {
    release();
}

void CDaemonEntry::signalStop() {
    fdn::CMutexLock const lock(m_mutex);
    m_stopRequested = true;
    if (m_daemonManager)
        m_daemonManager->signalStop();
}

void CDaemonEntry::init() {}

void CDaemonEntry::addCommandLineOptions(wxCmdLineParser& parser) {
    declareStandardOptions(parser);
}

bool CDaemonEntry::verifyCommandParams(fdn::String const& command, wxCmdLineParser& parser) {
    if (command != "install" || parser.Found("controlFolder"))
        return true;
    fdn::logError("Bad commandline: controlFolder option not specified.");
    std::puts("\n\nError: controlFolder option needed.\n\n");
    return false;
}

void CDaemonEntry::handleCommandParams(wxCmdLineParser& parser) {
    wxString controlFolder;
    if (parser.Found("controlFolder", &controlFolder))
        m_controlFolder = fdn::Path(controlFolder);
    storeTimeout(parser, m_timeoutMs);
    storeText(parser, "id", m_idOption);
    storeText(parser, "runas", m_runAs);
    storeText(parser, "runas-password", m_runAsPassword);
    storeText(parser, "transientFolderAppID", m_transientFolderAppID);
    storeText(parser, "transientFolderGroup", m_transientFolderGroup);
}

void CDaemonEntry::onCommandLineParsed() {}

void CDaemonEntry::doCommand(fdn::String const& command) {
    if (command == "install")
        doInstall();
    else if (command == "uninstall")
        doUninstall();
    else if (command == "start")
        doStart();
    else if (command == "stop")
        doStop();
    else if (command == "daemon")
        doDaemon();
    else if (command == "run")
        doRun();
    else
        throw fdn::CError("Unknown command: " + command);
}

void CDaemonEntry::doInstall() {
    CDaemonController::install(*m_daemonInfo, m_daemonId, m_controlFolder, m_runAs, m_runAsPassword,
                               m_transientFolderAppID, m_transientFolderGroup);
    if (!m_controller->waitInstalled(m_timeoutMs))
        failAfterTimeout("Timeout while waiting for daemon '" + m_daemonId + "' installation to finish.",
                         "Timeout while waiting for daemon installation to finish.");
    // "uninstalled" is wrong after an installation, but the text is fixed: do not repair it.
    fdn::logInfo("waitInstalled returned true. Daemon successfully uninstalled.");
}

void CDaemonEntry::doUninstall() {
    m_controller->uninstall();
    if (!m_controller->waitUninstalled(m_timeoutMs))
        failAfterTimeout("Timeout while waiting for daemon '" + m_daemonId + "' uninstallation to finish.",
                         "Timeout while waiting for daemon uninstallation to finish.");
    fdn::logInfo("waitUninstalled returned true. Daemon successfully uninstalled.");
}

void CDaemonEntry::doStart() {
    m_controller->start();
}

void CDaemonEntry::doStop() {
    m_controller->stop();
    if (!m_controller->waitStopped(m_timeoutMs))
        failAfterTimeout("Timeout while waiting for daemon '" + m_daemonId + "' to stop.",
                         "Timeout while waiting for daemon to stop.");
    fdn::logInfo("waitStopped returned true. Daemon successfully stopped.");
}

void CDaemonEntry::doRun() {
    createDaemonManager();
    { // the daemon ends before its manager
        fdn::P<CDaemon> const daemon = createDaemon(m_daemonId, m_controlFolder);
        ShownDaemon const shown(getPolicy(), daemon.get());
        getDaemonManager()->runDaemon(daemon.get());
    }
    destroyDaemonManager();
}

void CDaemonEntry::doDaemon() {
    doRun();
}

void CDaemonEntry::createDaemonManager() {
    // The handler comes second: it passes on a signal that came before, and whoever is told of that stop
    // finds the manager attached.
    fdn::P<CDaemonManager> const manager = fdn::newObj<CDaemonManager>();
    setDaemonManager(manager.get());
    m_signalHandler->setDaemonManager(manager.get());
}

void CDaemonEntry::destroyDaemonManager() {
    m_signalHandler->setDaemonManager(nullptr);
    setDaemonManager(nullptr);
}

void CDaemonEntry::setDaemonManager(CDaemonManager* manager) {
    // Unlike the signal handler, this does not pass on an earlier request: the interface is fixed.
    fdn::CMutexLock const lock(m_mutex);
    m_daemonManager = manager;
}

fdn::P<CDaemonManager> CDaemonEntry::getDaemonManager() {
    fdn::CMutexLock const lock(m_mutex);
    return m_daemonManager;
}

} // namespace dmn
