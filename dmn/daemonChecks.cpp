#include <dmn/daemonChecks.h>

namespace dmn {

fdn::TList<DaemonFinding> checkInstallation(InstallRequest const&) {
    return {};
}

fdn::TList<DaemonFinding> checkDaemon(fdn::String const&, fdn::Path const&) {
    return {};
}

} // namespace dmn
