#include <dmnctl/unit/unit.h>

namespace dmnctl {

int showUnit(UnitCommand const&) {
    return 0;
}

std::string composeUnit(fdn::String const&, dmn::DaemonSettings const&) {
    return {};
}

} // namespace dmnctl
