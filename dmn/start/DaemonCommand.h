#pragma once

#include <dmn/start/StartSettings.h>

#include <fdn/CExecCommand.h>
#include <fdn/String.h>

namespace dmn {

/// The command that runs the daemon: its executable with the ID, the control folder, the word "daemon" and
/// the stored run parameters. Throws fdn::CBadPathError for a control folder above the root.
fdn::CExecCommand composeDaemonCommand(fdn::String const& id, StartSettings const& settings);

} // namespace dmn
