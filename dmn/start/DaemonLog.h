#pragma once

#include <fdn/Path.h>
#include <fdn/String.h>

namespace dmn {

/// Where the log of a daemon is that runs this program under this account (empty: with root's rights, as a
/// start gives them). Empty where there is no place for it. Throws a CError for an account that does not
/// exist.
fdn::Path locateDaemonLog(fdn::Path const& program, fdn::String const& runAs);

} // namespace dmn
