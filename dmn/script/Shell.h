#pragma once

#include <fdn/CExecCommand.h>
#include <fdn/String.h>
#include <fdn/containers.h>

namespace dmn {

/// The shell of this machine, which runs its init scripts, with a text to run and its arguments "$1", "$2"
/// and so on.
fdn::CExecCommand composeShellCommand(fdn::String const& text, fdn::TArray<fdn::String> const& arguments);

/// An environment for the shell that is nearly empty, like that in which boot runs scripts. It hides from the
/// shell whatever changes how it works.
fdn::TMap<fdn::String, fdn::String> composeShellEnvironment();

} // namespace dmn
