#include <dmn/runtime/ServiceEvents.h>

namespace dmn {

using Lock = std::unique_lock<std::mutex>;

// A condition variable rather than the descriptors: a program may close all descriptors that it does not
// know.
ServiceEvents::Event ServiceEvents::await(std::chrono::steady_clock::time_point deadline) {
    Lock lock(m_mutex);
    m_hasChanged.wait_until(lock, deadline, [this] { return m_isStopRequested || m_isReloadRequested; });
    if (m_isStopRequested)
        return Event::Stop;
    if (!m_isReloadRequested)
        return Event::Timeout;
    m_isReloadRequested = false;
    m_reloadDescriptor.clear();
    return Event::Reload;
}

void ServiceEvents::requestReload() {
    Lock const lock(m_mutex);
    m_isReloadRequested = true;
    m_reloadDescriptor.set();
    m_hasChanged.notify_all();
}

void ServiceEvents::onRunning() {
    Lock const lock(m_mutex);
    m_isReady = true;
}

void ServiceEvents::onStopRequested() {
    Lock const lock(m_mutex);
    m_isStopRequested = true;
    m_stopDescriptor.set();
    m_hasChanged.notify_all();
}

bool ServiceEvents::isRunning() {
    Lock const lock(m_mutex);
    return m_isReady && !m_isStopRequested;
}

int ServiceEvents::getStopDescriptor() {
    Lock const lock(m_mutex);
    return m_stopDescriptor.get();
}

int ServiceEvents::getReloadDescriptor() {
    Lock const lock(m_mutex);
    return m_reloadDescriptor.get();
}

} // namespace dmn
