#pragma once

#include <dmn/Export.h>

#include <fdn/Path.h>
#include <fdn/String.h>

namespace dmn {

/// What a daemon is doing, as far as another process can see.
enum class DaemonState {
    NotInstalled, ///< it has no init script, and no process holds its PID file
    Stopped,      ///< it is installed and does not run
    Dead,         ///< it does not run, but its PID file is there: it has ended without giving it up
    Running,      ///< a process holds its PID file, whether it is installed or not
    Unknown,      ///< it cannot be told; the reason says why
};

/// A look at a daemon.
struct DaemonStatus {
    DaemonState state = DaemonState::Unknown; ///< what it is doing
    bool isInstalled = false;                 ///< whether it has an init script
    int process = 0;                          ///< that runs; else 0
    fdn::Path controlFolder;                  ///< empty if none was given and the init script names none
    fdn::String reason;                       ///< why the state is unknown; else empty
};

/// Looks at the daemon with this ID. An empty control folder is read from its init script. Changes nothing,
/// makes no folder, and needs no rights but those to look. Throws CError only for an ID that can name no
/// daemon; everything else that goes wrong is an unknown state. Blocks while the script runs.
DMN_EXPORT DaemonStatus getDaemonStatus(fdn::String const& id, fdn::Path const& controlFolder);

/// The exit status by which a command reports such a state (Linux Standard Base 5.0, Init Script Actions):
/// 0 running, 1 dead with its PID file, 3 stopped, 4 not installed or unknown.
DMN_EXPORT int getExitStatusOf(DaemonState state) noexcept;

/// Where the log of the daemon is, as its init script says which program runs under which account. Empty
/// where there is no place for it, so that entries go to syslog. Touches no file of the log. Throws CError
/// when the script cannot be read or its account does not exist.
DMN_EXPORT fdn::Path getDaemonLogFile(fdn::String const& id);

} // namespace dmn
