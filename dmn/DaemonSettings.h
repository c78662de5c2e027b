#pragma once

#include <fdn/Path.h>
#include <fdn/String.h>
#include <fdn/containers.h>

namespace dmn {

/// What is stored about an installed daemon. An empty text means that the setting is not set.
struct DaemonSettings {
    fdn::String displayName;          ///< empty also when only the script's verbs could be asked
    fdn::Path controlFolder;          ///< where its PID file is
    fdn::Path executable;             ///< the program
    fdn::TArray<fdn::String> params;  ///< the run parameters
    fdn::String runAs;                ///< the account; empty for that of whoever starts it
    fdn::String transientFolderAppID; ///< the name of its folder in /run
    fdn::String transientFolderGroup; ///< that folder's group; empty for the one with the account's name
};

} // namespace dmn
