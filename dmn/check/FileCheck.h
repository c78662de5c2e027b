#pragma once

#include <dmn/check/AccountView.h>
#include <dmn/check/CheckedDaemon.h>

#include <fdn/Path.h>
#include <fdn/String.h>

namespace dmn {

/// Whether the file system of the folder has no room for another file of the account, whose empty name stands
/// for root. Nothing is full that cannot be looked at.
bool isFull(fdn::Path const& folder, fdn::String const& account);

/// Finds why the account cannot run the daemon's executable.
Findings checkExecutable(StartSettings const& settings, AccountView const& view);

/// Finds why the account cannot work in the daemon's control folder. A missing one is a finding only where
/// nobody makes it, or can make it.
Findings checkControlFolder(CheckedDaemon const& daemon, AccountView const& view);

} // namespace dmn
