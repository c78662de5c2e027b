// A service, "clock", that does in init() and in run() what the environment tells it to:
//
//   CLOCK_INIT, CLOCK_RUN   "throw", "throw-number", "segfault", "abort", "exit", "hang", or "return"
//   CLOCK_IGNORES_STOP      set: it goes on until it is killed
//   CLOCK_EARLY_SIGNAL      set: it sends itself SIGTERM before its command line is read
//
// The command "nothing" does nothing, and "hang" never ends.

#include <dmn/dmn.h>

#include <fdn/CError.h>
#include <fdn/CThread.h>

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
            kill(getpid(), SIGTERM);
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
