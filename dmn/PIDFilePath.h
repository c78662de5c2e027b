#pragma once

#include <fdn/Path.h>
#include <fdn/String.h>

namespace dmn {

/// Where the daemon of this ID keeps its PID file: the running side claims it there, the controlling side
/// reads it there.
inline fdn::Path getPIDFilePath(fdn::Path const& controlFolder, fdn::String const& id) {
    return controlFolder << fdn::Path(id + ".pid");
}

} // namespace dmn
