#include <dmn/CDaemonStopper.h>

#include <fdn/CError.h>

namespace dmn {

CDaemonStopper::CDaemonStopper(fdn::String const& id, fdn::Path const& controlFolder)
    : m_id(id), m_controlFolder(controlFolder) {}

CDaemonStopper::Outcome CDaemonStopper::stop(int, Force) {
    throw fdn::CNotImplementedError("CDaemonStopper::stop");
}

} // namespace dmn
