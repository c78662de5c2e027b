#pragma once

#include <dmn/DaemonFinding.h>

#include <fdn/String.h>
#include <fdn/containers.h>

namespace dmn {

/// The findings, each with its remedy, if it has one, on a line below.
fdn::String describeFindings(fdn::TList<DaemonFinding> const& findings);

} // namespace dmn
