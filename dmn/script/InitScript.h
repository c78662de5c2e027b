#pragma once

#include <fdn/Path.h>
#include <fdn/String.h>

namespace dmn {

/// What an init script stores about a daemon. The paths are in normal form. The texts go into the script as
/// they are, between double quotes: the shell acts on a double quote, "$", "`" or backslash in them.
struct InitScriptValues {
    fdn::String daemonId;
    fdn::String runAs;
    fdn::String transientFolderAppID;
    fdn::String transientFolderGroup;
    fdn::String displayName;
    fdn::Path controlFolder;
    fdn::Path exePath;
    fdn::String parameterLine; ///< of composeParameterLine()
    fdn::Path initFilePath;    ///< the script's own path
};

/// How the text of every init script begins: up to its daemon's ID.
inline constexpr char kInitScriptHead[] = "#!/bin/sh\n\nDAEMONID=\"";

/// The text of the init script. It answers to start, stop, restart and force-reload, and to a print verb for
/// each setting that is read back. The paths and the parameter line read back unchanged through the shell, as
/// far as its echo allows.
fdn::String composeInitScript(InitScriptValues const& values);

} // namespace dmn
