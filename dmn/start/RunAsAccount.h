#pragma once

#include <fdn/CImpersonateInfo.h>
#include <fdn/P.h>
#include <fdn/String.h>

namespace dmn {

/// The account to start the daemon as. An empty pointer for the empty name: the daemon then runs under the
/// account of the process that starts it. This is the only look-up of the account in a start. Throws a CError
/// for an unknown account and then where this process does not have root's rights, which that needs.
fdn::P<fdn::CImpersonateInfo> findRunAsAccount(fdn::String const& runAs);

} // namespace dmn
