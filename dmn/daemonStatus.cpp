#include <dmn/daemonStatus.h>

namespace dmn {

DaemonStatus getDaemonStatus(fdn::String const&, fdn::Path const&) {
    return DaemonStatus();
}

int getExitStatusOf(DaemonState) noexcept {
    return 4;
}

fdn::Path getDaemonLogFile(fdn::String const&) {
    return fdn::Path();
}

} // namespace dmn
