#pragma once

#include <dmn/Export.h>

#include <fdn/Path.h>
#include <fdn/String.h>

namespace dmn {

/// Stops a daemon and waits for the end of its process, whether it is installed or not.
///
///     dmn::CDaemonStopper("backupd", fdn::Path()).stop(30000, dmn::CDaemonStopper::Force::No);
///
/// Needs root's rights, as CDaemonController::stop() does. Use an object on one thread.
class DMN_EXPORT CDaemonStopper {
public:
    /// What happens when the time is up.
    enum class Force {
        No,  ///< a daemon that does not end in time goes on
        Yes, ///< it is ended by SIGKILL then
    };

    /// What has come of a stop.
    enum class Outcome {
        WasNotRunning, ///< no process held its PID file
        Stopped,       ///< its process has ended after it was asked to
        Killed,        ///< its process was ended by force
    };

    /// Pass an empty control folder to have it read from the init script.
    CDaemonStopper(fdn::String const& id, fdn::Path const& controlFolder);

    /// Asks the process that holds the daemon's PID file to stop (SIGTERM), waits for its end, and does the
    /// same with a process that claims the file meanwhile. Signals reach only those very processes, never a
    /// later one with the same number.
    ///
    /// Throws a CError that names the process when it has not ended after `timeoutMs` milliseconds. With
    /// Force::No its code is ETIMEDOUT, for programs that know how their users can have it ended by force;
    /// with Force::Yes it does not even end by SIGKILL. Throws also when it is unclear who holds the file, or
    /// when the process may not be signalled.
    Outcome stop(int timeoutMs, Force force);

    /// The last process that stop() has signalled, or 0.
    int getProcess() const { return m_process; }

private:
    fdn::String m_id;
    fdn::Path m_controlFolder;
    int m_process = 0;
};

} // namespace dmn
