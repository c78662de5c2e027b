#include <dmn/CDaemonEntry.h>

#include <fdn/CError.h>
#include <fdn/CFdnInit.h>
#include <fdn/CXMLLog.h>
#include <fdn/files.h>
#include <fdn/log.h>
#include <fdn/system/Descriptor.h>

#include <dmn/commandline/CommandLine.h>

#include <wx/msgout.h>

#include <cstdio>
#include <typeinfo>

#include <fcntl.h>
#include <unistd.h>

namespace dmnm {

IDaemonEntry::~IDaemonEntry() = default;

} // namespace dmnm

namespace dmn {

namespace {

constexpr int kStatusDone = 0;
constexpr int kStatusRefused = -1;
constexpr int kStatusFailed = 2;

constexpr char kCommandSummary[] = "\nCOMMAND can be either of the following:\n"
                                   "    run       run in normal console mode\n"
                                   "    daemon    run in daemon mode\n"
                                   "    install   install the daemon\n"
                                   "    uninstall uninstall the daemon\n"
                                   "    start     starts the daemon (if it is not already running)\n"
                                   "    stop      stops the daemon\n\n";

struct OptionDescription {
    char const* shortName;
    char const* longName;
    char const* help;
};

// The blanks put each line of a text under the first in the parser's usage.
constexpr OptionDescription kOptions[] = {
    {"c", "controlFolder",
     "Path of the daemon's control folder\n"
     "                                Commands: install, run"},
    {"i", "id",
     "ID of the daemon. For install this is the ID \n"
     "                                the daemon will be installed as.\n"
     "                                For the other commands it is the ID of\n"
     "                                the daemon to control.\n"
     "                                If this is not specified then\n"
     "                                the daemon's default ID will be used.\n"
     "                                Commands: install, start, stop"},
    {"t", "timeout",
     "Timeout for the command to finish (in seconds).\n"
     "                                 Default: 30\n"
     "                                 Commands: install, uninstall, start, stop"},
    {"r", "runas",
     "Specifies the user account name that the daemon\n"
     "                                 should run under.\n"
     "                                 Windows Default: depends on the daemon. If it\n"
     "                                   requires network access AND admin access then\n"
     "                                   a new user account is created. Otherwise it runs\n"
     "                                   in the LocalSystem or NetworkService account\n"
     "                                 Unix Default: root\n"
     "                                 Commands: install"},
    {"p", "runas-password",
     "Specifies the password for the user account\n"
     "                                 name that the daemon should run under.\n"
     "                                 ONLY needed on Windows!!                                 Default: "
     "<empty>\n"
     "                                 Commands: install"},
    {"s", "transientFolderAppID",
     "Specifies the app id to be used when\n"
     "                                 generating the transient folder path that\n"
     "                                 is created each time the daemon is run.\n"
     "                                 Only has an effect on Linux.\n"
     "                                 Default: <empty> (do not create transient folder)\n"
     "                                 Commands: install"},
    {"g", "transientFolderGroup",
     "Specifies the group that should\n"
     "                                 be assigned to the transient folder.\n"
     "                                 Default: root\n"
     "                                 Commands: install"},
};

// Where the caller has closed a standard stream, the next file that is opened would be in its place, and get
// what is printed.
void openMissingStreams() {
    int descriptor = 0;
    while (descriptor >= 0 && descriptor <= STDERR_FILENO)
        descriptor = open("/dev/null", O_RDWR); // which the programs that are started get, too
    fdn::Descriptor const spare(descriptor);
}

/// Where wxWidgets prints as long as nobody has told it otherwise: on standard error.
class CDefaultOutput : public wxMessageOutputStderr {
public:
    /// Whether messages go there. It is made when the first message needs it, and is null until then.
    static bool is(wxMessageOutput const* output) {
        return output == nullptr ||
               (typeid(*output) == typeid(wxMessageOutputStderr) &&
                static_cast<wxMessageOutputStderr const*>(output)->*(&CDefaultOutput::m_fp) == stderr);
    }
};

/// While it lives, the parser's usage and error messages go to standard output, or where the application has
/// them go. No code of the application's may run meanwhile that sets an output, and deletes this one.
class CParserOutput {
public:
    CParserOutput() : m_previous(wxMessageOutput::Set(&m_output)) {
        if (!CDefaultOutput::is(m_previous))
            wxMessageOutput::Set(m_previous);
    }

    CParserOutput(CParserOutput const&) = delete;
    CParserOutput& operator=(CParserOutput const&) = delete;

    ~CParserOutput() { wxMessageOutput::Set(m_previous); }

private:
    wxMessageOutputStderr m_output{stdout};
    wxMessageOutput* m_previous;
};

int parseAloud(CommandLine const& line, wxCmdLineParser& parser) {
    CParserOutput const output;
    return line.parse(parser);
}

void printUsage(wxCmdLineParser& parser) {
    CParserOutput const output;
    parser.Usage();
}

// The parser's numeric accessor says whether an option was given even when it was declared with a text, but
// reports that as a programming error on standard error.
bool isGivenAsNumber(wxCmdLineParser const& parser, char const* option) {
    IgnoredAssertions const ignored;
    long number = 0;
    return parser.Found(option, &number);
}

bool isInteger(wxString const& text) {
    std::size_t const digits = text.find_first_of("+-") == 0 ? 1 : 0;
    return digits < text.length() && text.find_first_not_of("0123456789", digits) == wxString::npos;
}

void storeText(wxCmdLineParser const& parser, char const* option, fdn::String& field) {
    wxString text;
    if (parser.Found(option, &text))
        field = text;
}

void reportBadCommandLine(int parseResult, fdn::String const& arguments) {
    fdn::logError("Bad commandline (parseResult: " + fdn::String::Format("%d", parseResult) +
                  "; args: " + arguments + ").");
    std::puts(kCommandSummary);
}

void logEscapedError(std::exception const& error) {
    try {
        fdn::logError(error, "exception in entry function", "CDaemonEntry::entry");
    } catch (std::exception const&) { // NOLINT(bugprone-empty-catch): the first error is the one to report
    }
}

void printFatalError(std::exception const& error) {
    try {
        fdn::String const text = "\n\nFATAL ERROR: " + fdn::getMessageOf(error) + "\n\n";
        wxCharBuffer const narrow = text.toCP();
        // Better in UTF-8 than not at all, where the locale cannot represent the message.
        std::puts(narrow.length() > 0 ? narrow.data() : text.toUTF8().c_str());
    } catch (std::exception const&) { // NOLINT(bugprone-empty-catch): the exit status tells it all the same
    }
}

} // namespace

CDaemonEntry::CSignalHandler::CSignalHandler() = default;

CDaemonEntry::CSignalHandler::~CSignalHandler() = default;

void CDaemonEntry::CSignalHandler::handleSystemSignal(fdn::SysSignal) {
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

int CDaemonEntry::entry(int argc, char** argv) {
    openMissingStreams();
    try {
        fdn::CFdnInit const foundation(true);
        fdn::CXMLLog::CGlobalLogCloser const logCloser;
        return performLogged(argc, argv);
    } catch (std::exception const& e) {
        printFatalError(e);
        return kStatusFailed;
    } catch (...) {
        // Where nobody catches it, the objects above would not be destroyed without a handler on the way.
        throw;
    }
}

int CDaemonEntry::performLogged(int argc, char** argv) {
    try {
        return perform(argc, argv);
    } catch (std::exception const& e) {
        logEscapedError(e);
        throw;
    }
}

int CDaemonEntry::perform(int argc, char** argv) {
    init();
    registerSignalHandler();

    CommandLine const line(argc, argv);
    wxCmdLineParser parser;
    line.giveTo(parser);
    declareArguments(parser);
    int result = parseAloud(line, parser);
    if (result == 0)
        result = takeCommand(parser);
    if (result != 0) {
        reportBadCommandLine(result, line.describe(parser));
        return result;
    }
    performCommand(parser, argv[0]);
    return kStatusDone;
}

void CDaemonEntry::registerSignalHandler() {
    m_signalHandler = fdn::newObj<CSignalHandler>();
    fdn::P<fdn::CSystemSignalReceiver> const receiver(&fdn::CSystemSignalReceiver::get());
    receiver->setHandler(fdn::SysSignal::Terminate, m_signalHandler.get());
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
    printUsage(parser);
    return kStatusRefused;
}

void CDaemonEntry::performCommand(wxCmdLineParser& parser, char const* program) {
    m_exePath = fdn::Path(readArgument(program), true, false).toNormalized(true, fdn::Path());
    handleCommandParams(parser);
    if (!m_controlFolder.getText().empty())
        fdn::ensureFolderExists(m_controlFolder, 0777);
    onCommandLineParsed();

    m_daemonInfo = createDaemonInfo();
    if (!m_daemonInfo)
        throw fdn::CError("The application gave no description of its daemon.");
    m_daemonId = m_idOption.empty() ? m_daemonInfo->defaultId : m_idOption;
    m_controller = fdn::newObj<CDaemonController>(m_daemonId, m_controlFolder);

    fdn::logInfo("Performing command '" + m_command + "', controlFolder='" + m_controlFolder.getText() +
                 "', exePath='" + m_exePath.getText() + "'.");
    doCommand(m_command);
    fdn::logInfo("Finished command. Returning exit code 0.");
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
    for (OptionDescription const& option : kOptions)
        parser.AddOption(fdn::String(option.shortName), fdn::String(option.longName),
                         fdn::String(option.help), wxCMD_LINE_VAL_STRING, 0);
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
        m_controlFolder = fdn::Path(controlFolder, true, false);
    storeTimeout(parser);
    storeText(parser, "id", m_idOption);
    storeText(parser, "runas", m_runAs);
    storeText(parser, "runas-password", m_runAsPassword);
    storeText(parser, "transientFolderAppID", m_transientFolderAppID);
    storeText(parser, "transientFolderGroup", m_transientFolderGroup);
}

void CDaemonEntry::storeTimeout(wxCmdLineParser& parser) {
    if (!isGivenAsNumber(parser, "timeout"))
        return;
    wxString text;
    wxLongLong_t seconds = 0;
    parser.Found("timeout", &text);
    if (!text.ToLongLong(&seconds)) {
        fdn::logError("Bad commandline: timeout '" + fdn::String(text) +
                      (isInteger(text) ? "' is out of range." : "' is not a number."));
        return;
    }
    // Unsigned, because the product may leave the 32 bits.
    m_timeoutMs = static_cast<std::int32_t>(static_cast<std::uint32_t>(seconds) * 1000U);
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
    concludeWait(m_controller->waitInstalled(m_timeoutMs),
                 "waitInstalled returned true. Daemon successfully uninstalled.", "' installation to finish.",
                 "Timeout while waiting for daemon installation to finish.");
}

void CDaemonEntry::doUninstall() {
    m_controller->uninstall();
    concludeWait(m_controller->waitUninstalled(m_timeoutMs),
                 "waitUninstalled returned true. Daemon successfully uninstalled.",
                 "' uninstallation to finish.", "Timeout while waiting for daemon uninstallation to finish.");
}

void CDaemonEntry::doStart() {
    m_controller->start();
}

void CDaemonEntry::doStop() {
    m_controller->stop();
    concludeWait(m_controller->waitStopped(m_timeoutMs),
                 "waitStopped returned true. Daemon successfully stopped.", "' to stop.",
                 "Timeout while waiting for daemon to stop.");
}

void CDaemonEntry::concludeWait(bool succeeded, char const* success, char const* timeoutTail,
                                char const* timeout) {
    if (succeeded) {
        fdn::logInfo(success);
        return;
    }
    fdn::logError("Timeout while waiting for daemon '" + m_daemonId + timeoutTail);
    throw fdn::CError(timeout);
}

void CDaemonEntry::doRun() {
    createDaemonManager();
    {
        fdn::P<CDaemon> const daemon = createDaemon(m_daemonId, m_controlFolder);
        getDaemonManager()->runDaemon(daemon.get());
    }
    destroyDaemonManager();
}

void CDaemonEntry::doDaemon() {
    doRun();
}

void CDaemonEntry::createDaemonManager() {
    fdn::P<CDaemonManager> const manager = fdn::newObj<CDaemonManager>();
    setDaemonManager(manager.get());
    m_signalHandler->setDaemonManager(manager.get());
}

void CDaemonEntry::destroyDaemonManager() {
    m_signalHandler->setDaemonManager(nullptr);
    setDaemonManager(nullptr);
}

void CDaemonEntry::setDaemonManager(CDaemonManager* manager) {
    fdn::CMutexLock const lock(m_mutex);
    m_daemonManager = manager;
}

fdn::P<CDaemonManager> CDaemonEntry::getDaemonManager() {
    fdn::CMutexLock const lock(m_mutex);
    return m_daemonManager;
}

} // namespace dmn
