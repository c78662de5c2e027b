#include <dmn/CDaemon.h>

#include <dmn/runtime/RunListener.h>

namespace dmn {

namespace {

RunListener* toListener(void* reserved) {
    return static_cast<RunListener*>(reserved);
}

} // namespace

CDaemon::CDaemon(fdn::String const& id, fdn::Path const& controlFolder)
    : m_id(id), m_controlFolder(controlFolder) {}

CDaemon::~CDaemon() = default;

void CDaemon::init(IDaemonOperationProgress*) {}

void CDaemon::signalStop() {
    fdn::CMutexLock const lock(m_mutex);
    m_stopRequested = true;
    if (m_reserved != nullptr)
        toListener(m_reserved)->onStopRequested();
}

void CDaemon::signalRunning() {
    fdn::CMutexLock const lock(m_mutex);
    if (m_reserved != nullptr)
        toListener(m_reserved)->onRunning();
}

void CDaemon::setRunListener(RunListener* listener) {
    fdn::CMutexLock const lock(m_mutex);
    m_reserved = listener;
    if (m_stopRequested && listener != nullptr)
        listener->onStopRequested();
}

bool CDaemon::shouldStop() const {
    fdn::CMutexLock const lock(m_mutex);
    return m_stopRequested;
}

} // namespace dmn
