#pragma once

#include <dmn/check/CheckedDaemon.h>

namespace dmn {

/// Finds what would keep the daemon from claiming its PID file. A file that a dead process has left behind is
/// none: the daemon replaces it.
Findings checkPIDFile(fdn::String const& id, fdn::Path const& controlFolder);

} // namespace dmn
