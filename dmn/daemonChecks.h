#pragma once

#include <dmn/CDaemonInfo.h>
#include <dmn/DaemonFinding.h>
#include <dmn/Export.h>

#include <fdn/Path.h>
#include <fdn/String.h>
#include <fdn/containers.h>

namespace dmn {

/// What CDaemonController::install() is asked for. It refers to what the caller has.
struct InstallRequest {
    CDaemonInfo const& info;                 ///< the display name, the executable and the run parameters
    fdn::String const& id;                   ///< the daemon's ID
    fdn::Path const& controlFolder;          ///< a relative one counts from the current folder
    fdn::String const& runAs;                ///< the account; empty for root
    fdn::String const& transientFolderAppID; ///< empty for no transient folder
    fdn::String const& transientFolderGroup; ///< empty for the group with the account's name
};

// Both operations take root's rights for their duration if this process may have them (CMakeRoot), and need
// them to try what the account may do: without them, they leave that out. They write nothing, leave no
// process and no descriptor behind, and block while the programs run by which they try things. One thread at
// a time may call them. Findings come in the order in which they are to be mended.

/// Finds everything for which an installation with these values could not work:
///
/// - an ID that can name no daemon, and no control folder;
/// - values on which the init script's shell acts, or that it splits or changes. They are looked at before
///   they are tried on the shell of this machine, which therefore runs nothing of a hostile value;
/// - run parameters that no program can be given, or that are too long together to be tried (128 KiB);
/// - an unknown account, or a transient folder that cannot be made;
/// - an executable that the account cannot run. It is not run for it;
/// - a control folder that exists, and in which the account cannot make a file. A missing one is a finding
///   only if neither root nor the account would make it;
/// - missing folders of init, and a script that cannot be written because its file system is read-only or
///   full.
///
/// Returns an empty list if all is well. Throws nothing but what a lack of memory causes: what cannot be
/// looked at is a finding.
DMN_EXPORT fdn::TList<DaemonFinding> checkInstallation(InstallRequest const& request);

/// What becomes of a missing control folder.
enum class MissingFolder {
    IsAFinding,    ///< nobody makes it
    IsMadeByStart, ///< the program's command "start" does, as that of CServiceEntry
};

/// Finds every reason why the installed daemon would not come up, now or at boot: settings that its script
/// does not tell, what checkInstallation() looks for, a missing control folder unless the start makes it, a
/// PID file that it could not claim, missing and dangling run-level links, and a boot sequence that does not
/// have it. A daemon that was installed not to start at boot has such a finding, because its script does not
/// tell that.
///
/// An empty control folder is read from the script. Throws CError only for an ID that can name no daemon;
/// what cannot be looked at is a finding.
DMN_EXPORT fdn::TList<DaemonFinding> checkDaemon(fdn::String const& id, fdn::Path const& controlFolder,
                                                 MissingFolder missing = MissingFolder::IsAFinding);

} // namespace dmn
