// A daemon that does what the environment tells it to:
//
//   TEST_DAEMON        "HOOK=ACTION HOOK=ACTION..."; CHooks::perform knows the actions
//   TEST_DAEMON_GO     the file that ends the action "pause"
//   TEST_DAEMON_CALL   how main() calls entry(): "twice", "without-arguments", "with-null-argument",
//                      "with-nameless-program"
//
// The hooks are those of the front end, daemon.init, daemon.run, and "afterwards", when entry() has returned.
// The command "nothing" does nothing.

#include <dmn/dmn.h>

#include <fdn/CError.h>
#include <fdn/CThread.h>
#include <fdn/files.h>

#include <wx/msgout.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <string>

#include <signal.h>
#include <unistd.h>

namespace {

constexpr unsigned kPollIntervalMs = 5;
constexpr int kExitStatus = 7;

std::string environment(char const* name) {
    char const* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

void say(std::string const& text) {
    std::puts(text.c_str());
    std::fflush(stdout);
}

/// Counts its calls.
class CCountingHandler : public fdn::CBase, public virtual fdn::ISystemSignalHandler {
public:
    explicit CCountingHandler(fdn::P<fdn::ISystemSignalHandler> const& next) : m_next(next) {}

    void handleSystemSignal(fdn::SysSignal signal) override {
        m_next->handleSystemSignal(signal);
        ++m_calls;
    }

    int getCalls() const { return m_calls; }

private:
    fdn::P<fdn::ISystemSignalHandler> m_next;
    std::atomic<int> m_calls{0};
};

/// An output of its own, through which an application may have wxWidgets print.
class COwnOutput : public wxMessageOutput {
public:
    void Output(wxString const&) override { say("printed by the application"); }
};

/// What happens at the hooks.
class CHooks {
public:
    /// Set by the front end as soon as it has one.
    static inline fdn::P<fdn::ISystemSignalHandler> signalHandler;

    static bool does(std::string const& hook, std::string const& action) { return getAction(hook) == action; }

    static void perform(std::string const& hook) {
        std::string const action = getAction(hook);
        if (action == "say" || action == "pause" || getAction("every") == "say")
            say(hook);
        if (action == "throw")
            throw fdn::CError("Thrown in " + fdn::String(hook.c_str()) + ".");
        if (action == "throw-umlaut")
            throw fdn::CError(L"Thr\u00f6wn.");
        if (action == "throw-standard")
            throw std::runtime_error("Thrown in " + hook + ".");
        if (action == "throw-number")
            throw 1;
        if (action == "exit")
            std::exit(kExitStatus);
        if (action == "pause")
            waitForGo();
        if (action == "terminate")
            terminate();
        if (action == "set-output")
            setOwnOutput();
        if (action == "set-output-to-stdin")
            setOutputToStandardInput();
        if (action == "get-output")
            wxMessageOutput::Get();
    }

private:
    static std::string getAction(std::string const& hook) {
        std::istringstream words(environment("TEST_DAEMON"));
        for (std::string word; words >> word;) {
            if (word.rfind(hook + "=", 0) == 0)
                return word.substr(hook.size() + 1);
        }
        return "";
    }

    // Never deleted here: wxWidgets deletes its output in the end.
    static void setOwnOutput() {
        static wxMessageOutput* const output = new COwnOutput;
        wxMessageOutput::Set(output);
    }

    static void setOutputToStandardInput() {
        static wxMessageOutput* const output = new wxMessageOutputStderr(stdin);
        wxMessageOutput::Set(output);
    }

    static void waitForGo() {
        while (!std::filesystem::exists(environment("TEST_DAEMON_GO")))
            fdn::CThread::sleep(kPollIntervalMs);
    }

    // Returns once the signal has been handled.
    static void terminate() {
        auto const handler = fdn::newObj<CCountingHandler>(signalHandler);
        fdn::CSystemSignalReceiver::get().setHandler(fdn::SysSignal::Terminate, handler.get());
        kill(getpid(), SIGTERM);
        while (handler->getCalls() == 0)
            fdn::CThread::sleep(kPollIntervalMs);
    }
};

class CTestDaemon : public dmn::CDaemon {
public:
    using CDaemon::CDaemon;

    ~CTestDaemon() override {
        if (CHooks::does("every", "say"))
            say("~daemon");
    }

    void init(dmn::IDaemonOperationProgress* progress) override {
        performHook("daemon.init");
        progress->onOperationStepDone();
    }

    void run() override {
        performHook("daemon.run");
        while (!shouldStop() && !CHooks::does("daemon.run", "return"))
            fdn::CThread::sleep(kPollIntervalMs);
    }

private:
    void performHook(std::string const& hook) {
        if (shouldStop() && CHooks::does("every", "say"))
            say("asked to stop before " + hook);
        CHooks::perform(hook);
    }
};

class CTestEntry : public dmn::CDaemonEntry {
public:
    ~CTestEntry() override {
        if (CHooks::does("every", "say"))
            say("~entry");
    }

    void init() override { CHooks::perform("init"); }

    void addCommandLineOptions(wxCmdLineParser& parser) override {
        CHooks::signalHandler = m_signalHandler;
        CHooks::perform("addCommandLineOptions");
        if (CHooks::does("addCommandLineOptions", "add-switch"))
            parser.AddSwitch("v", "verbose");
        if (!CHooks::does("addCommandLineOptions", "add-nothing"))
            CDaemonEntry::addCommandLineOptions(parser);
    }

    bool verifyCommandParams(fdn::String const& command, wxCmdLineParser& parser) override {
        CHooks::perform("verifyCommandParams");
        return CDaemonEntry::verifyCommandParams(command, parser);
    }

    void handleCommandParams(wxCmdLineParser& parser) override {
        CHooks::perform("handleCommandParams");
        if (CHooks::does("handleCommandParams", "say-path"))
            say(m_exePath.getText().toUTF8());
        CDaemonEntry::handleCommandParams(parser);
    }

    void onCommandLineParsed() override { CHooks::perform("onCommandLineParsed"); }

    fdn::P<dmn::CDaemonInfo> createDaemonInfo() override {
        CHooks::perform("createDaemonInfo");
        if (CHooks::does("createDaemonInfo", "null"))
            return nullptr;
        auto info = fdn::newObj<dmn::CDaemonInfo>();
        info->defaultId = "testd";
        info->displayName = "Test daemon";
        info->exePath = fdn::Path(fdn::String::fromBytes(std::filesystem::read_symlink("/proc/self/exe")));
        return info;
    }

    fdn::P<dmn::CDaemon> createDaemon(fdn::String const& id, fdn::Path const& controlFolder) override {
        CHooks::perform("createDaemon");
        if (CHooks::does("createDaemon", "null"))
            return nullptr;
        return fdn::newObj<CTestDaemon>(id, controlFolder);
    }

    void doCommand(fdn::String const& command) override {
        CHooks::perform("doCommand");
        if (command != "nothing")
            CDaemonEntry::doCommand(command);
    }
};

bool isLogOpen() {
    for (auto const& descriptor : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code isTheIteratorsOwn;
        if (std::filesystem::read_symlink(descriptor, isTheIteratorsOwn) == environment("FDN_LOG_FILE"))
            return true;
    }
    return false;
}

int callEntry(CTestEntry& entry, int argc, char** argv) {
    std::string const way = environment("TEST_DAEMON_CALL");
    if (way == "without-arguments")
        return entry.entry(0, argv);
    if (way == "with-null-argument")
        argv[1] = nullptr;
    if (way == "with-nameless-program")
        argv[0] = const_cast<char*>("--%");
    if (way == "twice")
        say("first call: " + std::to_string(entry.entry(argc, argv)));
    return entry.entry(argc, argv);
}

} // namespace

int main(int argc, char** argv) {
    auto* const entry = new CTestEntry();
    int const status = callEntry(*entry, argc, argv);
    if (CHooks::does("afterwards", "terminate"))
        kill(getpid(), SIGTERM);
    if (CHooks::does("afterwards", "look-at-log"))
        say(isLogOpen() ? "log open" : "log closed");
    entry->dispose();
    return status;
}
