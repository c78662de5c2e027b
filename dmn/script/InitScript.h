#pragma once

#include <fdn/Path.h>
#include <fdn/String.h>
#include <fdn/containers.h>

namespace dmn {

/// What an init script holds of a daemon. The paths are in normal form.
struct InitScriptValues {
    fdn::String daemonId;
    fdn::String runAs;
    fdn::String transientFolderAppID;
    fdn::String transientFolderGroup;
    fdn::String displayName;
    fdn::Path controlFolder;
    fdn::Path exePath;
    fdn::String parameterLine;
    fdn::Path initFilePath;
};

/// The text of the init script.
fdn::String composeInitScript(InitScriptValues const& values);

/// Throws a CError for a run parameter that no program can be given, naming its number.
void requireArguments(fdn::TList<fdn::String> const& params);

/// The line in which the run parameters are stored.
fdn::String composeParameterLine(fdn::TList<fdn::String> const& params);

/// The run parameters that a stored parameter line holds.
fdn::TArray<fdn::String> splitParameterLine(fdn::String const& line);

} // namespace dmn
