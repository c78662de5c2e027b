#include "CMyService.h"

// Says who the daemon is. For options and commands of its own, derive a front end from dmn::CServiceEntry.
int main(int argc, char** argv) {
    dmn::CDaemonInfo info;
    info.defaultId = DAEMON_NAME;
    info.displayName = DAEMON_NAME;
    info.description = DAEMON_DESCRIPTION;
    info.version = DAEMON_VERSION;
    info.startAtBoot = true;
    return dmn::runService<CMyService>(argc, argv, info);
}
