#pragma once

#include <fdn/String.h>
#include <fdn/containers.h>

#include <dmn/script/InitScript.h>

namespace dmn {

/// A verb of an init script that does not do what it should.
struct ScriptFault {
    fdn::String verb;
    fdn::String expected; ///< what it should have printed
    fdn::String printed;  ///< what it has printed instead
};

/// Tries the init script with these values on the shell of this machine, without writing a file: whether the
/// print verbs print the values as they are, and whether start and stop hand them on as they are. In place of
/// the daemon's executable, a function of the shell prints its arguments.
///
/// The shell runs whatever it takes for commands in the values, so look at them before: findActiveInQuotes().
/// Throws a CError when the shell cannot be run; its code is E2BIG when the script is too long for one
/// argument. Blocks while the shell runs, eight times side by side.
fdn::TList<ScriptFault> tryInitScript(InitScriptValues const& values);

} // namespace dmn
