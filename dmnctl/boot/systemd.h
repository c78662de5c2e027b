#pragma once

#include <dmnctl/show/Notices.h>

#include <dmn/DaemonSettings.h>

#include <fdn/String.h>

namespace dmnctl {

// Daemons of machines that boot with systemd have a native unit in /etc/systemd/system, which is enabled.
// These operations work as well where systemd does not run, as while an image is built.

/// Writes the daemon's unit, or renews it, and enables it. A unit that somebody else has written is only
/// enabled. Says what it does. Throws CError when it fails; nothing is enabled then that was not before.
void enableUnit(fdn::String const& id, dmn::DaemonSettings const& settings, Notices& notices);

/// Whether the unit is the one that enableUnit() has written.
bool hasWrittenUnit(fdn::String const& id);

/// Whether that one differs from what enableUnit() would write.
bool isUnitOutOfDate(fdn::String const& id, dmn::DaemonSettings const& settings);

/// Takes that back, also of a daemon that is no longer installed: disables the unit, and removes it if
/// enableUnit() has written it. Throws CError.
void disableUnit(fdn::String const& id, Notices& notices);

/// Whether this process is one of the unit's.
bool isInUnit(fdn::String const& id, int process);

} // namespace dmnctl
