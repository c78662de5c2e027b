#include <dmn/CDaemonInfo.h>

namespace dmn {

CDaemonInfo::~CDaemonInfo() = default;

} // namespace dmn
