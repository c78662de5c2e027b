#pragma once

#include <dmn/CDaemonInfo.h>
#include <dmn/daemonChecks.h>

#include <fdn/Path.h>
#include <fdn/String.h>
#include <fdn/containers.h>

namespace dmn {

/// What an installation has done, with a line feed after each line.
fdn::String describeInstallation(CDaemonInfo const& info, fdn::String const& id,
                                 fdn::Path const& controlFolder);

/// The findings, each with its remedy, if it has one, on a line below.
fdn::String describeFindings(fdn::TList<DaemonFinding> const& findings);

} // namespace dmn
