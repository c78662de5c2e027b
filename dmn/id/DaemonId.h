#pragma once

#include <fdn/Path.h>
#include <fdn/String.h>

namespace dmn {

/// Whether the ID can name the daemon's files, of which the PID file has the longest name. Touches no file.
bool isDaemonId(fdn::String const& id);

/// Throws a CError for an ID that cannot.
void requireDaemonId(fdn::String const& id);

/// Where the daemon of this ID keeps its PID file: the running side claims it there, and the controlling side
/// reads it there. Throws a CError for an ID that cannot name it, because the path would lead out of the
/// folder.
fdn::Path getPIDFilePath(fdn::Path const& controlFolder, fdn::String const& id);

} // namespace dmn
