// The example heartbeat, except that it is not started at boot.

#include "CHeartbeatEntry.h"

namespace {

class CByHandEntry : public CHeartbeatEntry {
public:
    fdn::P<dmn::CDaemonInfo> createDaemonInfo() override {
        fdn::P<dmn::CDaemonInfo> info = CHeartbeatEntry::createDaemonInfo();
        info->startAtBoot = false;
        return info;
    }
};

} // namespace

int main(int argc, char** argv) {
    return fdn::newObj<CByHandEntry>()->entry(argc, argv);
}
