#pragma once

#include <dmn/check/CheckedDaemon.h>

namespace dmn {

/// Whether the control folder is the transient folder, which each start makes when it is missing.
bool isTransientFolder(StartSettings const& settings);

/// Finds a control folder in a place that boot empties (FHS 3.0, 3.15 and 3.18), if nobody makes it again.
Findings checkPlace(StartSettings const& settings);

} // namespace dmn
