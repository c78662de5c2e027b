#pragma once

#include <dmn/Export.h>

#include <fdn/Path.h>
#include <fdn/String.h>

#include <functional>

namespace dmn {

/// Starts an installed daemon and waits until it is ready.
///
///     dmn::CDaemonStarter starter("backupd", fdn::Path());
///     starter.setProgress([](fdn::String const& step) { std::puts(step.toUTF8().c_str()); });
///     starter.start(30000); // throws when it does not come up
///
/// The daemon says by itself how far it is (fdn::notifySupervisor()), whichever front end it has. A message
/// counts only if the kernel names as its sender the process that was launched or the one that holds the
/// daemon's PID file, and readiness only if the sender holds it.
///
/// While start() waits, this process is the parent of orphans among its descendants (Linux prctl,
/// PR_SET_CHILD_SUBREAPER), to learn how the daemon ends. The daemon stays its child: a program that outlives
/// it reaps it (POSIX waitpid with getProcess()). If the program ignores SIGCHLD, nobody learns how a daemon
/// has ended. Use one object at a time, on one thread. Needs root's rights, as CDaemonController::start()
/// does.
class DMN_EXPORT CDaemonStarter {
public:
    /// What has come of a start.
    enum class Outcome {
        Started,        ///< the daemon is ready
        RunningAlready, ///< another process held its PID file, before or by the time that this one tried
    };

    /// Pass an empty control folder to have it read from the init script.
    CDaemonStarter(fdn::String const& id, fdn::Path const& controlFolder);
    CDaemonStarter(CDaemonStarter const&) = delete;
    CDaemonStarter& operator=(CDaemonStarter const&) = delete;
    ~CDaemonStarter();

    /// Sets who is told of each step of the daemon's initialization, with the daemon's own words, while
    /// start() waits: on its thread, with root's rights. A CError that the function throws ends the
    /// wait, not the daemon; it is the cause of the one that start() then throws.
    void setProgress(std::function<void(fdn::String const& step)> progress);

    /// Launches the daemon unless it runs already, in its control folder, which is made for its account if it
    /// is missing, and returns when it is ready: it has said so, and it lives and holds its PID file as soon
    /// as none of its threads has anything to do, or it has used 10 ms of processor time after that, or a
    /// second has passed. A daemon that has ended by then has failed, even with the status 0.
    ///
    /// The launched program may also be a script that becomes the daemon, or starts it. If it ends with the
    /// status 0 and leaves the daemon behind, that one is awaited.
    ///
    /// Throws a CError when it cannot be launched, and when it is not ready after `timeoutMs` milliseconds or
    /// has ended by then. The message says what the daemon said last, or the signal or status that it ended
    /// by, and where its log is. A daemon that is merely late goes on: the error names its process, and has
    /// the code ETIMEDOUT.
    Outcome start(int timeoutMs);

    /// The process of the daemon that start() has found ready, or running already; else 0.
    int getProcess() const { return m_process; }

private:
    fdn::String m_id;
    fdn::Path m_controlFolder;
    std::function<void(fdn::String const&)> m_progress;
    int m_process = 0;
};

} // namespace dmn
