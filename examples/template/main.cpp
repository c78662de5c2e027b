#include "CService.h"

#include <filesystem>

namespace {

/// Passes SIGTERM on to the front end, then wakes the service.
class CWakingSignalHandler : public fdn::CBase, public virtual fdn::ISystemSignalHandler {
public:
    CWakingSignalHandler(fdn::P<fdn::ISystemSignalHandler> const& next, fdn::P<CService> const& service)
        : m_next(next), m_service(service) {}

    void handleSystemSignal(fdn::SysSignal signal) override {
        m_next->handleSystemSignal(signal);
        m_service->wakeUp();
    }

private:
    fdn::P<fdn::ISystemSignalHandler> m_next;
    fdn::P<CService> m_service;
};

/// The front end: says who the daemon is and creates it. Its own options and commands go here.
class CServiceEntry : public dmn::CDaemonEntry {
    fdn::P<dmn::CDaemonInfo> createDaemonInfo() override {
        auto info = fdn::newObj<dmn::CDaemonInfo>();
        info->defaultId = DAEMON_NAME;
        info->displayName = DAEMON_NAME;
        info->description = DAEMON_DESCRIPTION;
        info->startAtBoot = true;
        info->exePath = fdn::Path(fdn::String::fromBytes(std::filesystem::read_symlink("/proc/self/exe")));
        return info;
    }

    fdn::P<dmn::CDaemon> createDaemon(fdn::String const& id, fdn::Path const& controlFolder) override {
        auto const service = fdn::newObj<CService>(id, controlFolder);
        auto const handler = fdn::newObj<CWakingSignalHandler>(m_signalHandler, service);
        fdn::CSystemSignalReceiver::get().setHandler(fdn::SysSignal::Terminate, handler.get());
        return service;
    }
};

} // namespace

int main(int argc, char** argv) {
    return fdn::newObj<CServiceEntry>()->entry(argc, argv);
}
