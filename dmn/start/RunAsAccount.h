#pragma once

#include <fdn/CImpersonateInfo.h>
#include <fdn/P.h>
#include <fdn/String.h>

namespace dmn {

/// The account to start the daemon as. The empty name gives an empty pointer: the daemon then runs under the
/// account of the process that starts it. This is the only look-up of the account in a start. Throws a CError
/// for an unknown account, and for a known one if this process lacks root's rights, which the start needs.
fdn::P<fdn::CImpersonateInfo> findRunAsAccount(fdn::String const& runAs);

} // namespace dmn
