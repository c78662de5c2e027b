// A daemon that comes up late, or not at all. Its initialization takes a second, then makes the file "open"
// in the control folder, which the end of run() removes. If the file "trouble" is in that folder, the
// initialization fails with the text in it, or, if there is none, does not end until the daemon is stopped.

#include <dmn/dmn.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <string>
#include <thread>

namespace {

class CLatecomer : public dmn::CService {
public:
    using CService::CService;

    void init(dmn::IDaemonOperationProgress* progress) override {
        std::this_thread::sleep_for(std::chrono::seconds(1));
        progress->onOperationStepDone();
        meetTrouble();
        std::ofstream const open(locate("open"));
    }

    void run() override {
        while (sleep(3'600'000)) {
        }
        std::remove(locate("open").c_str());
    }

    void reload() override { fdn::logInfo("The latecomer has read its settings."); }

private:
    std::string locate(char const* name) {
        return (getControlFolder() << fdn::Path(name)).getText().toUTF8();
    }

    void meetTrouble() {
        std::ifstream file(locate("trouble"));
        if (!file)
            return;
        std::string text;
        if (std::getline(file, text))
            throw fdn::CError(fdn::String::fromBytes(text));
        while (!shouldStop())
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
};

class CLatecomerEntry : public dmn::TServiceEntry<CLatecomer> {
public:
    using TServiceEntry::TServiceEntry;

    // A boot that waits for a daemon in trouble goes on soon.
    void init() override { m_timeoutMs = 3000; }
};

} // namespace

int main(int argc, char** argv) {
    dmn::CDaemonInfo info;
    info.defaultId = "latecomer";
    info.displayName = "Latecomer";
    info.startAtBoot = true;
    return fdn::newObj<CLatecomerEntry>(info)->entry(argc, argv);
}
