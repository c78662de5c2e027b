#pragma once

#include <fdn/String.h>

namespace dmn {

/// Whether this command runs the daemon in the process that carries it out.
inline bool runsDaemon(fdn::String const& command) {
    return command == "run" || command == "daemon";
}

} // namespace dmn
