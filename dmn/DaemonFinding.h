#pragma once

#include <fdn/String.h>

namespace dmn {

/// A reason why a daemon will not work.
struct DaemonFinding {
    fdn::String problem;      ///< one sentence for people, which names what is wrong
    fdn::String remedy;       ///< the command that mends it; empty if there is no such command
    bool isAboutBoot = false; ///< whether it is that boot would not start the daemon
};

} // namespace dmn
