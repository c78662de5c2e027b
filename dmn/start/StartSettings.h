#pragma once

#include <fdn/Path.h>
#include <fdn/String.h>

namespace dmn {

/// What the init script says about how to start the daemon.
struct StartSettings {
    fdn::Path controlFolder;
    fdn::String params;
    fdn::String runAs;
    fdn::String transientFolderAppID;
    fdn::String transientFolderGroup;
    fdn::Path exePath;
};

/// Reads the settings, all from one version of the script. The control folder is the one given, unless that
/// is empty. Throws a CError for a script that does not stay the same for long enough.
StartSettings readStartSettings(fdn::String const& id, fdn::Path const& controlFolder);

} // namespace dmn
