#pragma once

#include <dmn/DaemonFinding.h>

#include <fdn/String.h>
#include <fdn/containers.h>

namespace dmn {

/// The command that mends something, for a line below what is wrong.
fdn::String describeRemedy(fdn::String const& command);

/// The findings, each with its remedy, if it has one, on a line below. There is no line feed at the end.
fdn::String describeFindings(fdn::TList<DaemonFinding> const& findings);

} // namespace dmn
