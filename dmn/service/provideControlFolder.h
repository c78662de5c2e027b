#pragma once

#include <fdn/Path.h>
#include <fdn/String.h>

namespace dmn {

/// Makes the control folder for the account that the daemon runs under, if it is missing. The empty name is
/// root's. Where others than root may change what the path leads to, only the account's own rights make it.
/// Throws a CError for an unknown account, and when the folder cannot be made. Needs root's rights.
void provideControlFolder(fdn::Path const& folder, fdn::String const& account);

} // namespace dmn
