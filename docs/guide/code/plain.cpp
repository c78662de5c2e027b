#include <dmn/dmn.h>

#include <filesystem>
#include <fstream>
#include <string>

/// The service: logs the machine's load once a minute.
class CLoadWatch : public dmn::CDaemon {
    using CDaemon::CDaemon;

    void run() override {
        for (int round = 0; !shouldStop(); ++round) {
            if (round % 300 == 0)
                fdn::logInfo("The load is " + readLoad() + ".");
            fdn::CThread::sleep(200);
        }
    }

    static fdn::String readLoad() {
        std::string line;
        std::getline(std::ifstream("/proc/loadavg"), line);
        return fdn::String::fromBytes(line);
    }
};

/// The front end: says who the daemon is and creates it.
class CLoadWatchEntry : public dmn::CDaemonEntry {
    fdn::P<dmn::CDaemonInfo> createDaemonInfo() override {
        auto info = fdn::newObj<dmn::CDaemonInfo>();
        info->defaultId = "loadwatch";
        info->displayName = "Load watch";
        info->startAtBoot = true;
        info->exePath = fdn::Path(fdn::String::fromBytes(std::filesystem::read_symlink("/proc/self/exe")));
        return info;
    }

    fdn::P<dmn::CDaemon> createDaemon(fdn::String const& id, fdn::Path const& controlFolder) override {
        return fdn::newObj<CLoadWatch>(id, controlFolder);
    }
};

int main(int argc, char** argv) {
    return fdn::newObj<CLoadWatchEntry>()->entry(argc, argv);
}
