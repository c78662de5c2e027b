#pragma once

#include <dmn/start/StartSettings.h>

namespace dmn {

/// Makes the control folder for the account that the daemon runs under, if it is missing. A transient folder
/// is left to the start, which makes it for its group. Throws a CError for an unknown account, and when the
/// folder cannot be made. Needs root's rights.
void provideControlFolder(StartSettings const& settings);

} // namespace dmn
