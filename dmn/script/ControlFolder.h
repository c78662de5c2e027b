#pragma once

#include <fdn/Path.h>
#include <fdn/String.h>

namespace dmn {

/// Returns the given control folder or, if that is empty, the one that the daemon's init script names. Throws
/// a CError when the script cannot be read.
fdn::Path findControlFolder(fdn::String const& id, fdn::Path const& given);

/// Throws a CError for the empty control folder, which would stand for whatever folder a process is in, and
/// for one on a file system that does not answer: nobody can tell who holds a PID file there.
void requireControlFolder(fdn::String const& id, fdn::Path const& controlFolder);

} // namespace dmn
