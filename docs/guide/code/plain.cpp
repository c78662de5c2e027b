#include <dmn/dmn.h>

#include <filesystem>

/// The service: a loop that looks five times a second whether it should stop.
class CTicker : public dmn::CDaemon {
    using CDaemon::CDaemon;

    void run() override {
        while (!shouldStop())
            fdn::CThread::sleep(200); // Do the daemon's work here.
    }
};

/// The front end: says who the daemon is and creates it.
class CTickerEntry : public dmn::CDaemonEntry {
    fdn::P<dmn::CDaemonInfo> createDaemonInfo() override {
        auto info = fdn::newObj<dmn::CDaemonInfo>();
        info->defaultId = "ticker";
        info->displayName = "Ticker";
        info->startAtBoot = true;
        info->exePath = fdn::Path(fdn::String::fromBytes(std::filesystem::read_symlink("/proc/self/exe")));
        return info;
    }

    fdn::P<dmn::CDaemon> createDaemon(fdn::String const& id, fdn::Path const& controlFolder) override {
        return fdn::newObj<CTicker>(id, controlFolder);
    }
};

int main(int argc, char** argv) {
    return fdn::newObj<CTickerEntry>()->entry(argc, argv);
}
