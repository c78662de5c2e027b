#include <dmn/CDaemon.h>

#include <dmn/runtime/StopListener.h>

namespace dmn {

CDaemon::CDaemon(fdn::String const& id, fdn::Path const& controlFolder)
    : m_id(id), m_controlFolder(controlFolder) {}

CDaemon::~CDaemon() = default;

void CDaemon::init(IDaemonOperationProgress*) {}

void CDaemon::signalStop() {
    fdn::CMutexLock const lock(m_mutex);
    m_stopRequested = true;
    if (m_stopListener != nullptr)
        m_stopListener->onStopRequested();
}

void CDaemon::setStopListener(StopListener* listener) {
    fdn::CMutexLock const lock(m_mutex);
    m_stopListener = listener;
    if (m_stopRequested && m_stopListener != nullptr)
        m_stopListener->onStopRequested();
}

bool CDaemon::shouldStop() const {
    fdn::CMutexLock const lock(m_mutex);
    return m_stopRequested;
}

} // namespace dmn
