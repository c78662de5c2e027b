#include <dmn/CService.h>

#include <fdn/CThread.h>

namespace dmn {

class CService::State {};

CService::CService(fdn::String const& id, fdn::Path const& controlFolder) : CDaemon(id, controlFolder) {}

CService::~CService() = default;

bool CService::sleep(int milliseconds) {
    fdn::CThread::sleep(static_cast<unsigned>(milliseconds));
    return !shouldStop();
}

void CService::reload() {}

void CService::signalReload() {}

int CService::getStopDescriptor() {
    return -1;
}

int CService::getReloadDescriptor() {
    return -1;
}

void CService::reportStatus(fdn::String const&) {}

} // namespace dmn
