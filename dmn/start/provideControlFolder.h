#pragma once

#include <dmn/start/StartSettings.h>

namespace dmn {

/// Makes the control folder for the account that the daemon runs under, if it is missing, unless it is the
/// daemon's transient folder, which a start makes with its own mode and group. Where others than root may
/// change what the path leads to, only the account's own rights make it. Throws a CError for an unknown
/// account, and when the folder cannot be made. Needs root's rights.
void provideControlFolder(StartSettings const& settings);

} // namespace dmn
