#include <dmn/CService.h>

#include <fdn/log.h>
#include <fdn/notify.h>

#include <dmn/runtime/RunReport.h>
#include <dmn/runtime/ServiceEvents.h>

#include <chrono>
#include <exception>

namespace dmn {

using std::chrono::steady_clock;

CService::CService(fdn::String const& id, fdn::Path const& controlFolder)
    : CDaemon(id, controlFolder), m_events(std::make_unique<ServiceEvents>()) {
    setRunListener(m_events.get());
}

CService::~CService() {
    setRunListener(nullptr);
}

bool CService::sleep(int milliseconds) {
    auto const deadline = steady_clock::now() + std::chrono::milliseconds(milliseconds);
    while (m_events->await(deadline) == ServiceEvents::Event::Reload) {
        makeReload();
        // Otherwise requests that come faster than they are met would keep the service from its work.
        if (steady_clock::now() >= deadline)
            break;
    }
    return !shouldStop();
}

// Within init(), a supervisor would take the end of a reload for that of init(); and after a stop was asked
// for, nothing begins any more.
void CService::makeReload() {
    if (m_events->isRunning())
        RunReport::tellReloading();
    try {
        reload();
        if (m_events->isRunning())
            RunReport::tellReloaded();
    } catch (std::exception const& e) {
        fdn::logError(e, "", "CService - reloading");
        if (m_events->isRunning())
            RunReport::tellReloadFailure(e);
    }
}

void CService::reload() {}

void CService::signalReload() {
    m_events->requestReload();
}

int CService::getStopDescriptor() {
    return m_events->getStopDescriptor();
}

int CService::getReloadDescriptor() {
    return m_events->getReloadDescriptor();
}

void CService::reportStatus(fdn::String const& text) {
    fdn::notifySupervisor(fdn::composeStatusNotification(text));
}

} // namespace dmn
