#include <dmn/CServiceEntry.h>

#include <dmn/CDaemonStarter.h>
#include <dmn/CDaemonStopper.h>
#include <dmn/CService.h>
#include <dmn/bootSequence.h>
#include <dmn/commandline/CommandLine.h>
#include <dmn/commandline/ParserOutput.h>
#include <dmn/commandline/printText.h>
#include <dmn/commandline/runsDaemon.h>
#include <dmn/daemonChecks.h>
#include <dmn/daemonStatus.h>
#include <dmn/entry/EntryPolicy.h>
#include <dmn/entry/exitStatus.h>
#include <dmn/script/InitScriptFile.h>
#include <dmn/script/ShellWord.h>
#include <dmn/service/FindingText.h>
#include <dmn/service/HelpRequest.h>
#include <dmn/service/InstallText.h>
#include <dmn/service/OwnExecutable.h>
#include <dmn/service/ServiceOptions.h>
#include <dmn/service/ServiceSignals.h>
#include <dmn/service/ServiceUsage.h>
#include <dmn/service/StatusText.h>
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

void setHandler(fdn::SysSignal signal, fdn::ISystemSignalHandler* handler) {
    fdn::CSystemSignalReceiver::get().setHandler(signal, handler);
}

} // namespace

/// What the front end knows beyond the base, and how it differs from that.
class CServiceEntry::State : public EntryPolicy {
public:
    explicit State(CServiceEntry& entry) : m_entry(entry) {}

    fdn::P<fdn::ISystemSignalHandler>
    chooseTerminationHandler(fdn::P<fdn::ISystemSignalHandler> const& stop) override {
        termination = fdn::newObj<TerminationHandler>(stop);
        return termination;
    }

    int parse(CommandLine const& line, wxCmdLineParser& parser) override {
        return line.parse(parser, CommandLine::Usage::Hidden);
    }

    void showUsage(wxCmdLineParser&) override {} // showCommands() follows

    void showCommands() override {
        printText("\nCommands:\n" + composeCommandList(m_entry.describeOwnCommands()) + "\nThe options: '" +
                  program + " --help'.");
    }

    // Others only look at the control folder, or make it for the account that the daemon runs under.
    bool beginCommand(fdn::String const& command) override {
        if (runsDaemon(command))
            termination->stopDaemon();
        else
            termination->endProcess();
        return runsDaemon(command);
    }

    void setDaemon(CDaemon* daemon) override {
        auto* const service = dynamic_cast<CService*>(daemon);
        if (service != nullptr)
            setHandler(fdn::SysSignal::Hangup, m_reload.get());
        m_reload->setService(service);
    }

    // The program's file name.
    fdn::String getName() const { return program.AfterLast('/'); }

    CDaemonStopper::Force getForce() const {
        return options.kills ? CDaemonStopper::Force::Yes : CDaemonStopper::Force::No;
    }

    fdn::String program; // as it was called
    ServiceOptions options;
    int exitStatus = kStatusDone;
    bool isInForeground = true;
    fdn::P<TerminationHandler> termination;

private:
    CServiceEntry& m_entry;
    fdn::P<ReloadHandler> m_reload = fdn::newObj<ReloadHandler>();
};

CServiceEntry::CServiceEntry() : m_state(std::make_unique<State>(*this)) {
    setPolicy(*m_state);
}

CServiceEntry::~CServiceEntry() = default;

int CServiceEntry::entry(int argc, char** argv) {
    m_state->program = argc > 0 && argv[0] != nullptr ? fdn::String::fromBytes(argv[0]) : fdn::String();
    HelpRequest const request = findHelpRequest(argc, argv);
    if (request != HelpRequest::None)
        return answer(request);
    m_state->exitStatus = kStatusDone;
    int const status = CDaemonEntry::entry(argc, argv);
    // By a failure's own status, the command "status" would say something about the daemon.
    if (status == kStatusFailed && findCommand(argc, argv) == "status")
        return getExitStatusOf(DaemonState::Unknown);
    return status == kStatusDone ? m_state->exitStatus : status;
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
    printText(m_state->getName() + (version.empty() ? "" : " ") + version +
              " (libdmn " DMN_VERSION_STRING ")");
}

fdn::TList<CommandDescription> CServiceEntry::describeOwnCommands() {
    return {};
}

void CServiceEntry::addCommandLineOptions(wxCmdLineParser& parser) {
    declareServiceOptions(parser, m_timeoutMs);
}

bool CServiceEntry::verifyCommandParams(fdn::String const& command, wxCmdLineParser& parser) {
    fdn::String const level = readServiceOptions(parser).logLevel;
    if (!level.empty() && !fdn::parseLogLevel(level)) {
        fdn::logError("Bad commandline: log level '" + level + "' is unknown.");
        printText("\n\nError: the log level must be debug, info, warning or error.\n\n");
        return false;
    }
    return CDaemonEntry::verifyCommandParams(command, parser);
}

void CServiceEntry::handleCommandParams(wxCmdLineParser& parser) {
    CDaemonEntry::handleCommandParams(parser);
    m_state->options = readServiceOptions(parser);
    if (!m_state->options.logLevel.empty())
        fdn::setLogLevel(*fdn::parseLogLevel(m_state->options.logLevel));
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
        m_state->showCommands();
    CDaemonEntry::doCommand(command);
}

void CServiceEntry::doHelp() {
    wxCmdLineParser parser;
    parser.SetSwitchChars("-");
    addCommandLineOptions(parser);
    fdn::String const description = describeDaemon()->description;
    printLines("Usage: " + m_state->getName() + " COMMAND [OPTION]...\n" + description +
               (description.empty() ? "" : "\n") + "\nCommands:\n" +
               composeCommandList(describeOwnCommands()) + "\nOptions:\n" + composeOptionList(parser));
}

// Management

void CServiceEntry::doInstall() {
    CDaemonController::CMakeRoot const root;
    completeDaemonInfo();
    refuseWhatCannotWork();
    stopDaemonElsewhere();
    provideControlFolder(composeStartSettings());
    CDaemonEntry::doInstall();
    reportInstallation();
}

void CServiceEntry::completeDaemonInfo() {
    if (m_daemonInfo->exePath.getText().empty())
        m_daemonInfo->exePath = findOwnExecutable();
    if (!m_state->options.logLevel.empty())
        m_daemonInfo->params.push_back(composeLogLevelOption(m_state->options.logLevel));
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
    printLines(describeFindings(findings));
    throw fdn::CError(m_daemonId + " was not installed: " + findings.front().problem);
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

// Once the new script is there, nobody would find the daemon that runs by the old one.
void CServiceEntry::stopDaemonElsewhere() {
    DaemonStatus const status = getDaemonStatus(m_daemonId, fdn::Path());
    if (status.state == DaemonState::Unknown)
        return refuseToLoseDaemon(status);
    // The same folder may have two names.
    if (status.state != DaemonState::Running ||
        status.process == getDaemonStatus(m_daemonId, m_controlFolder).process)
        return;
    printNotice(m_daemonId + " is running with another control folder, '" + status.controlFolder.getText() +
                "' " + describeProcess(status.process) + ". It is stopped first.");
    CDaemonStopper(m_daemonId, status.controlFolder).stop(m_timeoutMs, m_state->getForce());
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
        stopAndAwait();
    CDaemonEntry::doUninstall();
    printNotice(m_daemonId + (isInstalled ? " is uninstalled." : " is not installed."));
}

void CServiceEntry::doStart() {
    requireInstalled();
    CDaemonController::CMakeRoot const root;
    fdn::Path const folder = findInstalledControlFolder(m_daemonId, m_controlFolder);
    provideMissingControlFolder(folder);
    if (!m_state->options.waits)
        return CDaemonEntry::doStart();

    CDaemonStarter starter(m_daemonId, folder);
    starter.setProgress([this](fdn::String const& step) { printNotice(m_daemonId + ": " + step); });
    bool const isNew = starter.start(m_timeoutMs) == CDaemonStarter::Outcome::Started;
    printNotice(m_daemonId + (isNew ? " is running " : " runs already ") +
                describeProcess(starter.getProcess()) + ".");
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
                          "'. Install it first: " + composeCommand("install") + " --controlFolder=FOLDER");
}

void CServiceEntry::doStop() {
    if (m_controlFolder.getText().empty() && !m_controller->isInstalled())
        throw fdn::CError(m_daemonId + " is not installed. If it runs all the same, say where: " +
                          composeCommand("stop") + " --controlFolder=FOLDER");
    stopAndAwait();
}

void CServiceEntry::stopAndAwait() {
    CDaemonStopper stopper(m_daemonId, m_controlFolder);
    switch (stopper.stop(m_timeoutMs, m_state->getForce())) {
    case CDaemonStopper::Outcome::WasNotRunning:
        printNotice(m_daemonId + " does not run.");
        break;
    case CDaemonStopper::Outcome::Stopped:
        printNotice(m_daemonId + " has stopped.");
        break;
    case CDaemonStopper::Outcome::Killed:
        printNotice(m_daemonId + " did not stop and was ended by force " +
                    describeProcess(stopper.getProcess()) + ".");
        break;
    }
    fdn::logInfo("waitStopped returned true. Daemon successfully stopped.");
}

void CServiceEntry::doRestart() {
    requireInstalled();
    doStop();
    doStart();
}

void CServiceEntry::doStatus() {
    DaemonStatus const status = getDaemonStatus(m_daemonId, m_controlFolder);
    printText(describeStatus(m_daemonId, status));
    if (m_state->options.tellsAll)
        printLines(describeDetails(m_daemonId, status));
    m_state->exitStatus = getExitStatusOf(status.state);
}

void CServiceEntry::doCheck() {
    fdn::TList<DaemonFinding> const findings = checkDaemon(m_daemonId, m_controlFolder);
    if (findings.empty())
        return printText(m_daemonId + ": nothing found.");
    printLines(describeFindings(findings));
    m_state->exitStatus = kStatusFindings;
}

// The command as the user can type it.
fdn::String CServiceEntry::composeCommand(char const* word) const {
    fdn::String const id = m_idOption.empty() ? fdn::String() : " --id=" + quoteShellWord(m_idOption);
    return quoteShellWord(m_state->program) + " " + word + id;
}

// The daemon itself

void CServiceEntry::doRun() {
    m_state->termination->stopDaemon(); // also for a command of the application's own
    if (m_state->isInForeground) {
        fdn::showLogOnStandardError();
        setHandler(fdn::SysSignal::Interrupt, fdn::newObj<InterruptHandler>(m_signalHandler).get());
    }
    fdn::logCrashes();
    fdn::CExitReport const report("run()");
    try {
        CDaemonEntry::doRun();
    } catch (fdn::CError const& error) {
        fdn::String const hint = m_state->isInForeground ? composeHint() : fdn::String();
        if (hint.empty())
            throw;
        throw fdn::CError(error.getMessage() + " " + hint, error.getSecondText(), error.getCode(),
                          error.getProps(), error.getCause().get());
    }
}

void CServiceEntry::doDaemon() {
    m_state->isInForeground = false;
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
    return "To stop it: " + composeCommand("stop") + " --controlFolder=" + quoteShellWord(normalize(folder));
}

} // namespace dmn
