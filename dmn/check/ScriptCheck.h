#pragma once

#include <dmn/check/CheckedDaemon.h>
#include <dmn/script/InitScript.h>

namespace dmn {

/// Finds why the daemon's init script could not be run by this process, or that there is none.
Findings checkScriptFile(fdn::String const& id);

/// Finds that an installation could not write the daemon's init script, as far as that shows beforehand.
Findings checkWritingScript(fdn::String const& id);

/// Finds values that the init script cannot hold: on which its shell acts, or which it does not hand on as
/// they are. Nothing is run for it.
Findings checkScriptValues(InitScriptValues const& values);

/// Finds what the shell of this machine does not hand on as it was given, by trying the script. Only for
/// values in which checkScriptValues() finds nothing.
Findings tryScriptValues(InitScriptValues const& values);

} // namespace dmn
