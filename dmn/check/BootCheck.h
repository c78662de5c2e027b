#pragma once

#include <dmn/check/CheckedDaemon.h>

namespace dmn {

/// Finds missing folders of init, in which an installation has its links.
Findings checkInitFolders();

/// Finds why boot would not start the installed daemon, or halt not stop it: missing and dangling links, and
/// a boot sequence that does not have it.
Findings checkBoot(fdn::String const& id);

} // namespace dmn
