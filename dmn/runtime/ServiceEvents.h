#pragma once

#include <dmn/runtime/EventDescriptor.h>
#include <dmn/runtime/RunListener.h>

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace dmn {

/// What can happen to a service while it sleeps. Any thread may use it.
class ServiceEvents final : public RunListener {
public:
    enum class Event { Timeout, Reload, Stop };

    /// Waits until a stop or a reload is asked for, or for the deadline. A stop comes before a reload, and
    /// stays; a reload is taken.
    Event await(std::chrono::steady_clock::time_point deadline);

    void requestReload();

    void onRunning() override;
    void onStopRequested() override;

    /// Whether the daemon is ready and was not asked to stop.
    bool isRunning();

    /// See CService.
    int getStopDescriptor();
    int getReloadDescriptor();

private:
    std::mutex m_mutex; // guards the fields below
    std::condition_variable m_hasChanged;
    bool m_isReady = false;
    bool m_isStopRequested = false;
    bool m_isReloadRequested = false;
    EventDescriptor m_stopDescriptor;
    EventDescriptor m_reloadDescriptor;
};

} // namespace dmn
