#pragma once

#include <dmn/start/StartSettings.h>

#include <fdn/CImpersonateInfo.h>

namespace dmn {

/// Makes the daemon's transient folder, if its settings name one that is not there yet, and gives it to the
/// account that the daemon is started as (root for null) and to the group of the settings. A folder that
/// exists stays as it is. Throws a CError for an application ID that is no folder name, for an unknown group,
/// and when the folder cannot be made; there is none then.
void prepareTransientFolder(StartSettings const& settings, fdn::CImpersonateInfo const* impersonation);

} // namespace dmn
