#pragma once

#include <fdn/String.h>

namespace dmn {

// What systemd's files tell about a daemon (systemd.unit(5), systemd.generator(7)). Nothing here throws for
// an ID that can name files.

/// Whether systemd runs this machine (sd_booted(3)).
bool isSystemdRunning();

/// Whether systemd is the program that the machine's boot begins with.
bool isSystemdInit();

/// Whether systemd makes units of init scripts here, which it did until its release 260.
bool doesSystemdReadScripts();

/// Whether the daemon has a unit of its own, in place of which systemd makes none of the script.
bool hasOwnUnit(fdn::String const& id);

/// Whether that unit is enabled: something wants it at boot.
bool isOwnUnitEnabled(fdn::String const& id);

/// Whether systemd has made a unit of the script since.
bool hasGeneratedUnit(fdn::String const& id);

} // namespace dmn
