#pragma once

#include <fdn/Path.h>
#include <fdn/String.h>

namespace dmn {

// What systemd's files tell about a daemon (systemd.unit(5), systemd.generator(7)). Nothing here throws for
// an ID that can name files.

/// Whether systemd is the program that the machine's boot begins with.
bool isSystemdInit();

/// Whether systemd makes units of init scripts here, which it did until its release 260.
bool doesSystemdReadScripts();

/// The file of the daemon's own unit, in place of which systemd makes none of the script; the empty path if
/// there is none.
fdn::Path findOwnUnit(fdn::String const& id);
bool hasOwnUnit(fdn::String const& id);

/// Whether that unit is enabled: something wants it at boot.
bool isOwnUnitEnabled(fdn::String const& id);

/// Whether systemd has made a unit of the script since.
bool hasGeneratedUnit(fdn::String const& id);

} // namespace dmn
