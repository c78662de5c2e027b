// Ours with the plain front end: start does not wait, and stop looks again and again whether the daemon has
// stopped.

#include <dmn/dmn.h>

#include <condition_variable>
#include <filesystem>
#include <mutex>

namespace {

class CPlain : public dmn::CDaemon {
public:
    using CDaemon::CDaemon;

    void run() override {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_wakeUp.wait(lock, [this] { return shouldStop(); });
    }

    void wakeUp() {
        std::lock_guard<std::mutex> const lock(m_mutex);
        m_wakeUp.notify_all();
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_wakeUp;
};

class CWakingSignalHandler : public fdn::CBase, public virtual fdn::ISystemSignalHandler {
public:
    CWakingSignalHandler(fdn::P<fdn::ISystemSignalHandler> const& next, fdn::P<CPlain> const& daemon)
        : m_next(next), m_daemon(daemon) {}

    void handleSystemSignal(fdn::SysSignal signal) override {
        m_next->handleSystemSignal(signal);
        m_daemon->wakeUp();
    }

private:
    fdn::P<fdn::ISystemSignalHandler> m_next;
    fdn::P<CPlain> m_daemon;
};

class CPlainEntry : public dmn::CDaemonEntry {
public:
    fdn::P<dmn::CDaemonInfo> createDaemonInfo() override {
        auto info = fdn::newObj<dmn::CDaemonInfo>();
        info->defaultId = "plain";
        info->displayName = "Plain";
        info->startAtBoot = true;
        info->exePath = fdn::Path(fdn::String::fromBytes(std::filesystem::read_symlink("/proc/self/exe")));
        return info;
    }

    fdn::P<dmn::CDaemon> createDaemon(fdn::String const& id, fdn::Path const& controlFolder) override {
        auto const daemon = fdn::newObj<CPlain>(id, controlFolder);
        auto const handler = fdn::newObj<CWakingSignalHandler>(m_signalHandler, daemon);
        fdn::CSystemSignalReceiver::get().setHandler(fdn::SysSignal::Terminate, handler.get());
        return daemon;
    }
};

} // namespace

int main(int argc, char** argv) {
    return fdn::newObj<CPlainEntry>()->entry(argc, argv);
}
