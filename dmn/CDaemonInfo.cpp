#include <dmn/CDaemonInfo.h>

namespace dmn {

CDaemonInfo::CDaemonInfo() = default;

CDaemonInfo::CDaemonInfo(CDaemonInfo const& other) = default;

CDaemonInfo& CDaemonInfo::operator=(CDaemonInfo const& other) = default;

CDaemonInfo::~CDaemonInfo() = default;

} // namespace dmn
