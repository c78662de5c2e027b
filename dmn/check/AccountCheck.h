#pragma once

#include <dmn/check/CheckedDaemon.h>

namespace dmn {

/// Finds an unknown account.
Findings checkAccount(StartSettings const& settings);

/// Finds what prevents the transient folder: a name that no folder can have, or an unknown group. Without
/// such a folder, the group does not matter.
Findings checkTransientFolder(StartSettings const& settings);

} // namespace dmn
