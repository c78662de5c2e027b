#pragma once

#include <fdn/Path.h>
#include <fdn/String.h>

#include <dmn/script/InitScript.h>
#include <dmn/start/StartSettings.h>

namespace dmn {

// Settings from the text of the init script where it is one of this library's that would print them as they
// stand. Any other script is run.

/// As readStartSettings().
StartSettings readInstalledSettings(fdn::String const& id, fdn::Path const& controlFolder);

/// As findControlFolder().
fdn::Path findInstalledControlFolder(fdn::String const& id, fdn::Path const& given);

/// Those of a script's values that a start needs.
StartSettings selectStartSettings(InitScriptValues const& values);

} // namespace dmn
