#include <dmn/CDaemonManager.h>

#include <fdn/CError.h>
#include <fdn/CPIDFile.h>
#include <fdn/log.h>

#include <dmn/id/DaemonId.h>
#include <dmn/runtime/RunReport.h>

namespace dmn {

CDaemonManager::CDaemonManager() : m_reserved(new RunReport) {}

CDaemonManager::~CDaemonManager() {
    delete &getReport();
}

void CDaemonManager::runDaemon(CDaemon* daemon) {
    try {
        runHoldingPIDFile(daemon);
    } catch (std::exception const& e) {
        // The PID file has been given up on the way here: another process may run the daemon.
        fdn::logError(e, "", "CDaemonManager - running daemon");
        RunReport::tellFailure(e);
        detachDaemon();
        setStatus(Status::Stopped);
        throw;
    }
}

void CDaemonManager::runHoldingPIDFile(CDaemon* daemon) {
    onOperationStepDone();
    if (daemon == nullptr)
        throw fdn::CError("There is no daemon to run.");
    RunReport::tellClaiming();
    // Claimed first, so that a second process fails before it prepares its daemon.
    fdn::CPIDFile const pidFile(getPIDFilePath(daemon->getControlFolder(), daemon->getId()));
    attachDaemon(daemon);
    onOperationStepDone();
    initialize(*daemon);
    onOperationStepDone();
    setStatus(Status::Running);
    daemon->run();
    detachDaemon();
    setStatus(Status::Stopped);
}

void CDaemonManager::initialize(CDaemon& daemon) {
    getReport().tellInitializing();
    daemon.init(this);
    getReport().tellInitialized();
}

void CDaemonManager::attachDaemon(CDaemon* daemon) {
    fdn::CMutexLock const lock(m_mutex);
    m_daemon = daemon;
    if (m_status == Status::Stopping) // the request came before there was a daemon to tell
        m_daemon->signalStop();
}

void CDaemonManager::detachDaemon() {
    fdn::CMutexLock const lock(m_mutex);
    m_daemon.reset();
}

void CDaemonManager::signalStop() {
    fdn::CMutexLock const lock(m_mutex); // setStatus() takes it again, which this mutex allows
    setStatus(Status::Stopping);
    if (m_daemon)
        m_daemon->signalStop();
}

void CDaemonManager::setStatus(Status status) {
    fdn::CMutexLock const lock(m_mutex);
    if (m_status == Status::Stopped)
        return;
    if (m_status == Status::Stopping && status != Status::Stopped)
        return;
    m_status = status;
    if (status == Status::Running)
        announceRunning();
    else if (status == Status::Stopping)
        RunReport::tellStopping();
}

void CDaemonManager::announceRunning() {
    getReport().tellRunning();
    if (m_daemon)
        m_daemon->signalRunning();
}

bool CDaemonManager::hasEnded() {
    fdn::CMutexLock const lock(m_mutex);
    return m_status == Status::Stopped;
}

void CDaemonManager::onOperationStepDone() {
    getReport().tellStepDone();
}

RunReport& CDaemonManager::getReport() {
    return *static_cast<RunReport*>(m_reserved);
}

} // namespace dmn
