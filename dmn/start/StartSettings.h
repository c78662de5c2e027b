#pragma once

#include <fdn/Path.h>
#include <fdn/String.h>

namespace dmn {

/// How to start an installed daemon, as its init script says. An empty text means that the setting is not
/// set.
struct StartSettings {
    fdn::Path controlFolder;
    fdn::String params; ///< as stored: see splitParameterLine()
    fdn::String runAs;  ///< the account; empty for that of the starting process
    fdn::String transientFolderAppID;
    fdn::String transientFolderGroup; ///< empty for the group with the account's name
    fdn::Path exePath;
};

/// Reads the settings, all from one version of the script. A control folder that is not empty is taken
/// instead of the script's. Throws a CError for a setting that cannot be read, and for a script that keeps
/// changing meanwhile. Blocks while the script runs, once per setting.
StartSettings readStartSettings(fdn::String const& id, fdn::Path const& controlFolder);

} // namespace dmn
