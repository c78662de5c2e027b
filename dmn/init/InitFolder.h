#pragma once

#include <fdn/Path.h>
#include <fdn/String.h>

#include <optional>

namespace dmn {

// The folders that System V init reads: "init.d" with the scripts, "rc0.d" to "rc6.d" with the links of each
// run level. Distributions keep them in one of two places.

/// Returns the folder of this name: the one in /etc or, where that is missing, the one in /etc/rc.d. Looks at
/// the file system each time, so that the two places may even be mixed. Throws a CError that names the folder
/// when there is neither.
fdn::Path findInitFolder(fdn::String const& name);

/// The same, but returns nothing where there is neither.
std::optional<fdn::Path> searchInitFolder(fdn::String const& name);

/// Deletes an entry of such a folder, whatever kind of file it is. Succeeds when nothing is there. Throws a
/// CError that names the entry; a folder is an error as well.
void deleteFromInitFolder(fdn::Path const& entry);

} // namespace dmn
