#pragma once

#include <dmn/start/StartSettings.h>

#include <fdn/CExecCommand.h>
#include <fdn/Path.h>
#include <fdn/String.h>
#include <fdn/containers.h>

namespace dmn {

/// The command that runs the daemon: its executable with the ID, the control folder, the word "daemon" and
/// the run parameters. Throws fdn::CBadPathError for a control folder above the root.
fdn::CExecCommand composeDaemonCommand(fdn::String const& id, fdn::Path const& executable,
                                       fdn::Path const& controlFolder,
                                       fdn::TArray<fdn::String> const& params);

/// The same with stored settings.
fdn::CExecCommand composeDaemonCommand(fdn::String const& id, StartSettings const& settings);

} // namespace dmn
