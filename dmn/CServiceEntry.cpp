#include <dmn/CServiceEntry.h>

#include <dmn/CDaemonStarter.h>
#include <dmn/CDaemonStopper.h>
#include <dmn/bootSequence.h>
#include <dmn/check/ScriptCheck.h>
#include <dmn/commandline/TimeoutOption.h>
#include <dmn/commandline/printText.h>
#include <dmn/daemonChecks.h>
#include <dmn/daemonStatus.h>
#include <dmn/entry/exitStatus.h>
#include <dmn/script/InitScriptFile.h>
#include <dmn/script/ShellWord.h>
#include <dmn/service/FindingText.h>
#include <dmn/service/HelpRequest.h>
#include <dmn/service/InstallText.h>
#include <dmn/service/OwnExecutable.h>
#include <dmn/service/ServiceOptions.h>
#include <dmn/service/ServicePolicy.h>
#include <dmn/service/ServiceSignals.h>
#include <dmn/service/ServiceUsage.h>
#include <dmn/service/StatusText.h>
#include <dmn/service/extendError.h>
#include <dmn/service/printNotice.h>
#include <dmn/start/InstalledSettings.h>
#include <dmn/start/provideControlFolder.h>
#include <dmn/version.h>

#include <fdn/CError.h>
#include <fdn/CFdnInit.h>
#include <fdn/CSystemSignalReceiver.h>
#include <fdn/crash.h>
#include <fdn/files.h>
#include <fdn/log.h>

#include <cerrno>

#include <unistd.h>

namespace dmn {

namespace {

constexpr int kStatusFindings = 1;

fdn::Path normalize(fdn::Path const& path) {
    return path.toNormalized(true, fdn::Path());
}

fdn::String withoutLastLineFeed(fdn::String const& lines) {
    return lines.BeforeLast('\n');
}

void printLines(fdn::String const& lines) {
    printText(withoutLastLineFeed(lines));
}

fdn::String describeStop(fdn::String const& id, CDaemonStopper::Outcome outcome, int process) {
    switch (outcome) {
    case CDaemonStopper::Outcome::WasNotRunning:
        break;
    case CDaemonStopper::Outcome::Stopped:
        return id + " has stopped.";
    case CDaemonStopper::Outcome::Killed:
        return id + " did not stop and was ended by force " + describeProcess(process) + ".";
    }
    return id + " does not run.";
}

} // namespace

CServiceEntry::CServiceEntry()
    : m_policy(std::make_unique<ServicePolicy>([this] { return describeOwnCommands(); })) {
    setPolicy(*m_policy);
}

CServiceEntry::~CServiceEntry() = default;

int CServiceEntry::entry(int argc, char** argv) {
    m_policy->program = argc > 0 && argv[0] != nullptr ? fdn::String::fromBytes(argv[0]) : fdn::String();
    HelpRequest const request = findHelpRequest(argc, argv);
    if (request != HelpRequest::None)
        return answer(request);
    m_policy->exitStatus = kStatusDone;
    int const status = CDaemonEntry::entry(argc, argv);
    // By the status of a failure or of the parser, the command "status" would say something about the daemon.
    bool const isAnswer = status <= 0 || status == m_policy->exitStatus;
    bool const isUnknown = !isAnswer && findCommand(argc, argv) == "status";
    return isUnknown ? getExitStatusOf(DaemonState::Unknown) : status;
}

int CServiceEntry::answer(HelpRequest request) {
    fdn::openMissingStandardStreams();
    try {
        fdn::CFdnInit const foundation(true);
        if (request == HelpRequest::Version)
            printVersion();
        else
            doHelp();
        return kStatusDone;
    } catch (std::exception const& e) {
        printFatalError(e);
        return kStatusFailed;
    }
}

void CServiceEntry::printVersion() {
    fdn::String const version = describeDaemon()->version;
    printText(getName() + (version.empty() ? "" : " ") + version + " (libdmn " DMN_VERSION_STRING ")");
}

fdn::TList<CommandDescription> CServiceEntry::describeOwnCommands() {
    return {};
}

void CServiceEntry::addCommandLineOptions(wxCmdLineParser& parser) {
    declareServiceOptions(parser, m_timeoutMs);
}

bool CServiceEntry::verifyCommandParams(fdn::String const&, wxCmdLineParser& parser) {
    fdn::String const level = readServiceOptions(parser).logLevel;
    if (!level.empty() && !fdn::parseLogLevel(level)) {
        fdn::logError("Bad commandline: log level '" + level + "' is unknown.");
        printText("\n\nError: the log level must be debug, info, warning or error.\n\n");
        return false;
    }
    return true; // a missing control folder is one of the findings of install
}

void CServiceEntry::handleCommandParams(wxCmdLineParser& parser) {
    requireTimeout(parser);
    CDaemonEntry::handleCommandParams(parser);
    m_policy->options = readServiceOptions(parser);
    if (!m_policy->options.logLevel.empty())
        fdn::setLogLevel(*fdn::parseLogLevel(m_policy->options.logLevel));
}

void CServiceEntry::doCommand(fdn::String const& command) {
    if (command == "status")
        return doStatus();
    if (command == "restart")
        return doRestart();
    if (command == "check")
        return doCheck();
    if (command == "help")
        return doHelp();
    if (!isServiceCommand(command))
        m_policy->showCommands();
    CDaemonEntry::doCommand(command);
}

void CServiceEntry::doHelp() {
    wxCmdLineParser parser;
    parser.SetSwitchChars("-");
    addCommandLineOptions(parser);
    fdn::String const description = describeDaemon()->description;
    printLines("Usage: " + getName() + " COMMAND [OPTION]...\n" + description +
               (description.empty() ? "" : "\n") + "\nCommands:\n" +
               composeCommandList(describeOwnCommands()) + "\nOptions:\n" + composeOptionList(parser));
}

// Management

void CServiceEntry::doInstall() {
    CDaemonController::CMakeRoot const root;
    completeDaemonInfo();
    refuseWhatCannotWork();
    fdn::Path const other = findDaemonElsewhere();
    provideControlFolder(composeStartSettings());
    if (!other.getText().empty())
        stopAndAwait(other);
    CDaemonEntry::doInstall();
    reportInstallation();
}

void CServiceEntry::completeDaemonInfo() {
    if (m_daemonInfo->exePath.getText().empty())
        m_daemonInfo->exePath = findOwnExecutable();
    if (!m_policy->options.logLevel.empty())
        m_daemonInfo->params.push_back(composeLogLevelOption(m_policy->options.logLevel));
}

// What the script will say.
StartSettings CServiceEntry::composeStartSettings() const {
    StartSettings settings;
    settings.controlFolder = normalize(m_controlFolder);
    settings.runAs = m_runAs;
    settings.transientFolderAppID = m_transientFolderAppID;
    settings.transientFolderGroup = m_transientFolderGroup;
    return settings;
}

void CServiceEntry::refuseWhatCannotWork() {
    fdn::TList<DaemonFinding> const findings =
        checkInstallation({*m_daemonInfo, m_daemonId, m_controlFolder, m_runAs, m_transientFolderAppID,
                           m_transientFolderGroup});
    if (findings.empty())
        return;
    throw fdn::CError(m_daemonId + " was not installed.\n" + describeFindings(findings));
}

// A script that cannot be read names no folder. The installation mends it.
void CServiceEntry::refuseToLoseDaemon(DaemonStatus const& status) {
    printNotice("It is unknown whether " + m_daemonId + " runs by its old script: " + status.reason);
    fdn::String const folder = normalize(status.controlFolder).getText();
    if (!status.controlFolder.getText().empty() && folder != normalize(m_controlFolder).getText())
        throw fdn::CError(m_daemonId +
                          " was not installed: it may be running with another control folder, '" + folder +
                          "'.");
}

// Once the new script is there, nobody would find the daemon that runs by the old one. Returns the empty path
// if there is none.
fdn::Path CServiceEntry::findDaemonElsewhere() {
    DaemonStatus const status = getDaemonStatus(m_daemonId, fdn::Path());
    if (status.state == DaemonState::Unknown)
        refuseToLoseDaemon(status);
    // The same folder may have two names.
    if (status.state != DaemonState::Running ||
        status.process == getDaemonStatus(m_daemonId, m_controlFolder).process)
        return fdn::Path();
    printNotice(m_daemonId + " is running with another control folder, '" + status.controlFolder.getText() +
                "' " + describeProcess(status.process) + ". It is stopped first.");
    return status.controlFolder;
}

void CServiceEntry::reportInstallation() {
    bool const isRunning = getDaemonStatus(m_daemonId, m_controlFolder).state == DaemonState::Running;
    fdn::String next = "Next:\n  " + composeCommand(isRunning ? "restart" : "start") + "\n";
    fdn::String const boot =
        m_daemonInfo->startAtBoot ? composeBootCommand(m_daemonId, detectBootSequence()) : fdn::String();
    if (!boot.empty())
        next << "  " << boot << "\n";
    printNotice(withoutLastLineFeed(
        describeInstallation(*m_daemonInfo, m_daemonId, normalize(m_controlFolder)) + next));
}

void CServiceEntry::doUninstall() {
    bool const isInstalled = m_controller->isInstalled();
    if (isInstalled)
        stopAndAwait(m_controlFolder);
    CDaemonEntry::doUninstall();
    printNotice(m_daemonId + (isInstalled ? " is uninstalled." : " is not installed."));
}

void CServiceEntry::doStart() {
    requireInstalled();
    if (m_policy->options.waits)
        return startAndAwait();
    CDaemonController::CMakeRoot const root;
    provideMissingControlFolder(findInstalledControlFolder(m_daemonId, m_controlFolder));
    CDaemonEntry::doStart();
}

void CServiceEntry::startAndAwait() {
    try {
        CDaemonStarter starter(m_daemonId, m_controlFolder);
        starter.setProgress([this](fdn::String const& step) { printNotice(m_daemonId + ": " + step); });
        bool const isNew = starter.start(m_timeoutMs) == CDaemonStarter::Outcome::Started;
        printNotice(m_daemonId + (isNew ? " is running " : " runs already ") +
                    describeProcess(starter.getProcess()) + ".");
    } catch (fdn::CError const& error) {
        failToAwait(error, m_controlFolder);
    }
}

// A control folder in /run is gone after each boot.
void CServiceEntry::provideMissingControlFolder(fdn::Path const& folder) {
    if (folder.getText().empty() || fdn::folderExistsOrIsSilent(folder))
        return;
    provideControlFolder(readInstalledSettings(m_daemonId, folder));
}

void CServiceEntry::requireInstalled() {
    if (!m_controller->isInstalled())
        throw fdn::CError(m_daemonId + " is not installed: there is no '" +
                          locateInitScript(m_daemonId).getText() +
                          "'. Install it first: " + composeInstallCommand());
    requireUsableScript();
}

// Running it all the same would fail with no more than the system's reason.
void CServiceEntry::requireUsableScript() {
    fdn::TList<DaemonFinding> const findings = checkScriptFile(m_daemonId);
    if (!findings.empty())
        throw fdn::CError(describeFindings(findings));
}

void CServiceEntry::doStop() {
    if (m_controlFolder.getText().empty() && !m_controller->isInstalled())
        throw fdn::CError(m_daemonId + " is not installed. If it runs all the same, say where: " +
                          composeCommand("stop") + " --controlFolder=FOLDER");
    stopAndAwait(m_controlFolder);
}

void CServiceEntry::stopAndAwait(fdn::Path const& folder) {
    if (folder.getText().empty())
        requireUsableScript();
    CDaemonStopper stopper(m_daemonId, folder);
    auto const force = m_policy->options.kills ? CDaemonStopper::Force::Yes : CDaemonStopper::Force::No;
    try {
        CDaemonStopper::Outcome const outcome = stopper.stop(m_timeoutMs, force);
        printNotice(describeStop(m_daemonId, outcome, stopper.getProcess()));
    } catch (fdn::CError const& error) {
        failToAwait(error, folder);
    }
    fdn::logInfo("waitStopped returned true. Daemon successfully stopped.");
}

// Whoever has waited in vain wants to know what else can be done.
void CServiceEntry::failToAwait(fdn::CError const& error, fdn::Path const& folder) {
    if (error.getCode() != ETIMEDOUT)
        error.throwClone();
    throw addRemedy(error, composeCommand("stop --kill") + composeFolderOption(folder));
}

void CServiceEntry::doRestart() {
    requireInstalled();
    doStop();
    doStart();
}

void CServiceEntry::doStatus() {
    DaemonStatus const status = getDaemonStatus(m_daemonId, m_controlFolder);
    printText(describeStatus(m_daemonId, status));
    if (m_policy->options.tellsAll)
        printLines(describeDetails(m_daemonId, status));
    m_policy->exitStatus = getExitStatusOf(status.state);
}

void CServiceEntry::doCheck() {
    fdn::TList<DaemonFinding> const findings =
        checkDaemon(m_daemonId, m_controlFolder, MissingFolder::IsMadeByStart);
    if (findings.empty())
        return printText(m_daemonId + ": nothing found.");
    printText(describeFindings(findings));
    if (getDaemonStatus(m_daemonId, m_controlFolder).state == DaemonState::NotInstalled)
        printText(describeRemedy(composeInstallCommand()));
    m_policy->exitStatus = kStatusFindings;
}

fdn::String CServiceEntry::composeInstallCommand() const {
    return composeCommand("install") + " --controlFolder=FOLDER";
}

// Empty where the init script names the folder.
fdn::String CServiceEntry::composeFolderOption(fdn::Path const& folder) {
    return folder.getText().empty() ? fdn::String() : " --controlFolder=" + quoteShellWord(normalize(folder));
}

// The program's file name.
fdn::String CServiceEntry::getName() const {
    return m_policy->program.AfterLast('/');
}

// The command as the user can type it.
fdn::String CServiceEntry::composeCommand(char const* word) const {
    fdn::String const id = m_idOption.empty() ? fdn::String() : " --id=" + quoteShellWord(m_idOption);
    return quoteShellWord(m_policy->program) + " " + word + id;
}

// The daemon itself

void CServiceEntry::doRun() {
    m_policy->termination->stopDaemon(); // also for a command of the application's own
    if (m_policy->isInForeground) {
        fdn::showLogOnStandardError();
        fdn::CSystemSignalReceiver::get().setHandler(fdn::SysSignal::Interrupt,
                                                     fdn::newObj<InterruptHandler>(m_signalHandler).get());
    }
    fdn::logCrashes();
    fdn::CExitReport const report("init() or run()");
    try {
        CDaemonEntry::doRun();
    } catch (fdn::CError const& error) {
        fdn::String const hint = m_policy->isInForeground ? composeHint() : fdn::String();
        if (hint.empty())
            throw;
        throw extendError(error, " " + hint);
    }
}

void CServiceEntry::doDaemon() {
    m_policy->isInForeground = false;
    CDaemonEntry::doDaemon();
}

// Whoever runs the daemon by hand and finds another one running wants to know how to stop that.
fdn::String CServiceEntry::composeHint() const {
    try {
        int const holder = CDaemonController::getActivePID(m_controlFolder, m_daemonId);
        if (holder < 1 || holder == getpid())
            return fdn::String();
    } catch (fdn::CError const&) {
        return fdn::String(); // the error that led here is the one to report
    }
    fdn::Path const folder = m_controlFolder.getText().empty() ? fdn::Path(".") : m_controlFolder;
    return "To stop it: " + composeCommand("stop") + composeFolderOption(folder);
}

} // namespace dmn
