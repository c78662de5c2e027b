#include <dmn/dmn.h>
#include <filesystem>

class CMinimal : public dmn::CDaemon {
    using CDaemon::CDaemon;

    void run() override {
        while (!shouldStop())
            fdn::CThread::sleep(200); // Do the daemon's work here.
    }
};

class CMinimalEntry : public dmn::CDaemonEntry {
    fdn::P<dmn::CDaemonInfo> createDaemonInfo() override {
        auto info = fdn::newObj<dmn::CDaemonInfo>();
        info->defaultId = "minimal";
        info->displayName = "Minimal daemon";
        info->startAtBoot = true;
        info->exePath = fdn::Path(fdn::String::fromBytes(std::filesystem::read_symlink("/proc/self/exe")));
        return info;
    }

    fdn::P<dmn::CDaemon> createDaemon(fdn::String const& id, fdn::Path const& controlFolder) override {
        return fdn::newObj<CMinimal>(id, controlFolder);
    }
};

int main(int argc, char** argv) {
    return fdn::newObj<CMinimalEntry>()->entry(argc, argv);
}
