// A service, "clock", that does in init() and in run() what the environment tells it to:
//
//   CLOCK_INIT, CLOCK_RUN   "throw", "throw-number", "segfault", "abort", "exit", "hang", "show-supervisor",
//   or
//                           "return"
//   CLOCK_IGNORES_STOP      set: it goes on until it is killed
//   CLOCK_EARLY_SIGNAL      set: it sends itself SIGTERM before its command line is read
//
// The command "nothing" does nothing, and "hang" never ends.

#include <dmn/dmn.h>

#include <fdn/CError.h>
#include <fdn/CThread.h>

#include <atomic>
#include <cstdlib>
#include <string>

#include <signal.h>
#include <unistd.h>

namespace {

constexpr int kExitStatus = 3;

std::string environment(char const* name) {
    char const* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

void hang() {
    for (;;)
        fdn::CThread::sleep(1000);
}

void perform(std::string const& action) {
    if (action == "throw")
        throw fdn::CError("The clock has no hands.");
    if (action == "throw-number")
        throw 42;
    if (action == "segfault")
        raise(SIGSEGV);
    if (action == "abort")
        std::abort();
    if (action == "exit")
        std::exit(kExitStatus);
    if (action == "hang")
        hang();
    if (action == "show-supervisor" && environment("NOTIFY_SOCKET").empty())
        fdn::logInfo("The environment has no supervisor.");
}

/// Counts its calls.
class CCounter : public fdn::CBase, public virtual fdn::ISystemSignalHandler {
public:
    void handleSystemSignal(fdn::SysSignal) override { ++m_calls; }

    int getCalls() const { return m_calls; }

private:
    std::atomic<int> m_calls{0};
};

// Returns once SIGTERM has been handled: one after the other, the receiver takes each kind of signal that has
// come, before it takes one of the first kind again.
void terminateOneself() {
    auto const counter = fdn::newObj<CCounter>();
    fdn::CSystemSignalReceiver::get().setHandler(fdn::SysSignal::User1, counter.get());
    kill(getpid(), SIGTERM);
    for (int call = 1; call <= 2; ++call) {
        kill(getpid(), SIGUSR1);
        while (counter->getCalls() < call)
            fdn::CThread::sleep(1);
    }
}

class CClock : public dmn::CService {
public:
    using CService::CService;

    void init(dmn::IDaemonOperationProgress* progress) override {
        reportStatus("Winding up");
        progress->onOperationStepDone();
        perform(environment("CLOCK_INIT"));
    }

    void run() override {
        perform(environment("CLOCK_RUN"));
        if (environment("CLOCK_RUN") == "return")
            return;
        while (sleep(60000)) {
        }
        if (!environment("CLOCK_IGNORES_STOP").empty())
            hang();
    }

    void reload() override { fdn::logInfo("The clock has read its settings."); }
};

class CClockEntry : public dmn::CServiceEntry {
    fdn::P<dmn::CDaemonInfo> createDaemonInfo() override {
        auto info = fdn::newObj<dmn::CDaemonInfo>();
        info->defaultId = "clock";
        info->displayName = "Clock";
        info->description = "Shows the time.";
        info->version = "2.5";
        info->startAtBoot = true;
        return info;
    }

    fdn::P<dmn::CDaemon> createDaemon(fdn::String const& id, fdn::Path const& controlFolder) override {
        return fdn::newObj<CClock>(id, controlFolder);
    }

    void addCommandLineOptions(wxCmdLineParser& parser) override {
        CServiceEntry::addCommandLineOptions(parser);
        if (!environment("CLOCK_EARLY_SIGNAL").empty())
            terminateOneself();
    }

    fdn::TList<dmn::CommandDescription> describeOwnCommands() override {
        return {{"nothing", "do nothing"}, {"hang", "wait for ever"}};
    }

    void doCommand(fdn::String const& command) override {
        if (command == "hang")
            hang();
        else if (command != "nothing")
            CServiceEntry::doCommand(command);
    }
};

} // namespace

int main(int argc, char** argv) {
    return fdn::newObj<CClockEntry>()->entry(argc, argv);
}
