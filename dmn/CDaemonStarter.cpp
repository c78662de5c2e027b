#include <dmn/CDaemonStarter.h>

#include <fdn/CError.h>

#include <utility>

namespace dmn {

CDaemonStarter::CDaemonStarter(fdn::String const& id, fdn::Path const& controlFolder)
    : m_id(id), m_controlFolder(controlFolder) {}

CDaemonStarter::~CDaemonStarter() = default;

void CDaemonStarter::setProgress(std::function<void(fdn::String const& step)> progress) {
    m_progress = std::move(progress);
}

CDaemonStarter::Outcome CDaemonStarter::start(int) {
    throw fdn::CNotImplementedError("CDaemonStarter::start");
}

} // namespace dmn
