#pragma once

#include <dmn/check/CheckedDaemon.h>
#include <dmn/check/FileLook.h>

namespace dmn {

/// Finds why the account cannot run the daemon's executable.
Findings checkExecutable(StartSettings const& settings, AccountsEyes const& eyes);

/// Finds why the account cannot work in the daemon's control folder. A missing one is a finding only for an
/// installed daemon, and not where the start makes it.
Findings checkControlFolder(CheckedDaemon const& daemon, AccountsEyes const& eyes);

} // namespace dmn
