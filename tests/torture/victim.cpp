// The daemon that is tortured: a victim with the plain front end.

#include "VictimEntry.h"

#include <fdn/log.h>

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <mutex>

namespace {

using torture::marks;
using torture::runMode;

constexpr std::chrono::milliseconds kPauseOfTheBusy(10);

class CVictim : public dmn::CDaemon {
public:
    CVictim(fdn::String const& id, fdn::Path const& controlFolder, fdn::String const& word)
        : CDaemon(id, controlFolder), m_word(word) {}

    void init(dmn::IDaemonOperationProgress*) override { torture::introduce(*this, m_word); }

    void run() override {
        marks->running = true;
        if (runMode() == "busy")
            logUntilStopped();
        else if (runMode() != "brief")
            waitUntilStopped();
        marks->returned = true;
    }

    void wakeUp() {
        std::lock_guard<std::mutex> const lock(m_mutex);
        m_wakeUp.notify_all();
    }

private:
    void logUntilStopped() {
        auto next = std::chrono::steady_clock::now();
        while (!shouldStop()) {
            fdn::logInfo(fdn::String::Format("entry %u", marks->entries.load()));
            ++marks->entries;
            next += kPauseOfTheBusy;
            std::unique_lock<std::mutex> lock(m_mutex);
            m_wakeUp.wait_until(lock, next, [this] { return shouldStop(); });
        }
    }

    void waitUntilStopped() {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_wakeUp.wait(lock, [this] { return shouldStop(); });
    }

    fdn::String m_word;
    std::mutex m_mutex;
    std::condition_variable m_wakeUp;
};

class CWakingHandler : public fdn::CBase, public virtual fdn::ISystemSignalHandler {
public:
    CWakingHandler(fdn::P<fdn::ISystemSignalHandler> const& next, fdn::P<CVictim> const& daemon)
        : m_next(next), m_daemon(daemon) {}

    void handleSystemSignal(fdn::SysSignal signal) override {
        m_next->handleSystemSignal(signal);
        m_daemon->wakeUp();
    }

private:
    fdn::P<fdn::ISystemSignalHandler> m_next;
    fdn::P<CVictim> m_daemon;
};

class CCountingHandler : public fdn::CBase, public virtual fdn::ISystemSignalHandler {
public:
    void handleSystemSignal(fdn::SysSignal) override { ++marks->hangups; }
};

class CVictimEntry : public torture::TVictimEntry<dmn::CDaemonEntry> {
public:
    fdn::P<dmn::CDaemonInfo> createDaemonInfo() override {
        auto info = TVictimEntry::createDaemonInfo();
        info->exePath = fdn::Path(fdn::String::fromBytes(std::filesystem::read_symlink("/proc/self/exe")));
        return info;
    }

    fdn::P<dmn::CDaemon> createDaemon(fdn::String const& id, fdn::Path const& controlFolder) override {
        auto const daemon = fdn::newObj<CVictim>(id, controlFolder, m_word);
        auto const waking = fdn::newObj<CWakingHandler>(m_signalHandler, daemon);
        fdn::CSystemSignalReceiver::get().setHandler(fdn::SysSignal::Terminate, waking.get());
        if (runMode() == "busy") {
            auto const counting = fdn::newObj<CCountingHandler>();
            fdn::CSystemSignalReceiver::get().setHandler(static_cast<fdn::SysSignal>(SIGHUP), counting.get());
        }
        return daemon;
    }
};

} // namespace

int main(int argc, char** argv) {
    return torture::live([&] { return fdn::newObj<CVictimEntry>()->entry(argc, argv); });
}
