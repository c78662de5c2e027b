#pragma once

#include <dmn/start/StartSettings.h>

#include <fdn/CImpersonateInfo.h>

namespace dmn {

/// Whether the control folder is the transient folder, which each start makes when it is missing.
bool isTransientFolder(StartSettings const& settings);

/// Makes the daemon's transient folder if the settings name one that does not exist yet, for the account that
/// the daemon is started as (root for null) and the group of the settings. An existing folder stays as it is.
/// Throws a CError for an application ID that cannot name a folder, for an unknown group, and when the folder
/// cannot be made. Leaves no folder then, because the next start would keep one with the wrong owner.
void prepareTransientFolder(StartSettings const& settings, fdn::CImpersonateInfo const* impersonation);

} // namespace dmn
