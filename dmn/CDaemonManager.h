#pragma once

#include <dmn/CDaemon.h>
#include <dmn/Export.h>
#include <dmn/IDaemonOperationProgress.h>

#include <fdn/CBase.h>
#include <fdn/CMutex.h>
#include <fdn/P.h>

namespace dmn {

/// Runs one daemon in the current process: holds its PID file for exactly as long as it runs, keeps the run
/// status, and carries a stop request from any thread to the daemon.
///
/// A manager serves one run. Locks are taken in the order manager, daemon; the daemon's init() and run() are
/// called without any lock held.
class DMN_EXPORT CDaemonManager : public fdn::CBase, public virtual IDaemonOperationProgress {
public:
    /// Where the run is; setStatus() says what may follow what.
    enum class Status : int {
        Starting = 0, ///< until the daemon's init() has returned
        Running = 1,  ///< the daemon's run() has been entered
        Stopping = 2, ///< a stop was requested
        Stopped = 3,  ///< the run has ended; final
    };

    CDaemonManager();
    CDaemonManager(CDaemonManager const&) = delete;
    CDaemonManager& operator=(CDaemonManager const&) = delete;
    ~CDaemonManager() override;

    /// Runs the daemon to completion on the calling thread. The manager holds a reference to it meanwhile. A
    /// stop that was requested before reaches the daemon before its init().
    ///
    /// Throws what the daemon's init() and run() throw, and a CError when the PID file cannot be claimed,
    /// such as when another process holds it. Errors are logged; in each case the PID file is given up first.
    void runDaemon(CDaemon* daemon);

    /// Requests the stop: of the daemon that runs, or of the one that will. Any thread may call it at any
    /// time.
    void signalStop();

    /// Changes the status. Stopping only ever becomes Stopped, and Stopped stays. Any thread may call it.
    void setStatus(Status status);

    /// A step of starting the daemon is done: called three times by runDaemon() and by the daemon's init().
    /// Does nothing; a derived class may observe the progress.
    void onOperationStepDone() override;

protected:
    fdn::CMutex m_mutex;                ///< guards the two fields below
    Status m_status = Status::Starting; ///< see setStatus()
    fdn::P<CDaemon> m_daemon;           ///< the daemon that runs, or empty

private:
    DMN_HIDDEN void runHoldingPIDFile(CDaemon* daemon);
    DMN_HIDDEN void attachDaemon(CDaemon* daemon);
    DMN_HIDDEN void detachDaemon();
};

} // namespace dmn
