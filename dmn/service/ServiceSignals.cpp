#include <dmn/service/ServiceSignals.h>

#include <fdn/CSystemSignalReceiver.h>

#include <signal.h>
#include <unistd.h>

namespace dmn {

void TerminationHandler::handleSystemSignal(fdn::SysSignal signal) {
    fdn::CMutexLock const lock(m_mutex);
    m_hasCome = true;
    treat(signal);
}

void TerminationHandler::decide(Treatment treatment) {
    fdn::CMutexLock const lock(m_mutex);
    m_treatment = treatment;
    if (m_hasCome)
        treat(fdn::SysSignal::Terminate);
}

void TerminationHandler::treat(fdn::SysSignal signal) {
    switch (m_treatment) {
    case Treatment::Keep:
        break;
    case Treatment::StopDaemon:
        m_stop->handleSystemSignal(signal);
        break;
    case Treatment::EndProcess:
        fdn::CSystemSignalReceiver::get().setHandler(signal, nullptr);
        kill(getpid(), static_cast<int>(signal));
        break;
    }
}

void InterruptHandler::handleSystemSignal(fdn::SysSignal signal) {
    fdn::CSystemSignalReceiver::get().setHandler(signal, nullptr);
    m_stop->handleSystemSignal(signal);
}

void ReloadHandler::setService(CService* service) {
    fdn::CMutexLock const lock(m_mutex);
    m_service = service;
}

void ReloadHandler::handleSystemSignal(fdn::SysSignal) {
    fdn::CMutexLock const lock(m_mutex);
    if (m_service != nullptr)
        m_service->signalReload();
}

} // namespace dmn
