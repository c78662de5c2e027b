#pragma once

#include <dmn/CDaemonInfo.h>
#include <dmn/DaemonFinding.h>
#include <dmn/Export.h>

#include <fdn/Path.h>
#include <fdn/String.h>
#include <fdn/containers.h>

namespace dmn {

/// What CDaemonController::install() is asked for.
struct InstallRequest {
    CDaemonInfo const& info;
    fdn::String const& id;
    fdn::Path const& controlFolder;
    fdn::String const& runAs;
    fdn::String const& transientFolderAppID;
    fdn::String const& transientFolderGroup;
};

/// Finds everything for which an installation with these values could not work: an ID that can name no
/// daemon, no control folder, a value that the script's shell does not hand on as it was given (tried on the
/// shell of this machine), an unknown account or group, an executable that the account cannot run, a control
/// folder that exists and that the account cannot write to. Writes nothing. The account's rights are tried as
/// the account, which needs root's rights. Returns an empty list if all is well.
DMN_EXPORT fdn::TList<DaemonFinding> checkInstallation(InstallRequest const& request);

/// Finds every reason why the installed daemon would not come up, now or at boot: what checkInstallation()
/// looks for, by the settings of its script, and its PID file, its run-level links, and the machine's boot
/// sequence. Changes nothing. An empty control folder is read from the script. Throws CError only for an ID
/// that can name no daemon; what cannot be looked at is a finding.
DMN_EXPORT fdn::TList<DaemonFinding> checkDaemon(fdn::String const& id, fdn::Path const& controlFolder);

} // namespace dmn
