#pragma once

#include <dmn/CDaemon.h>
#include <dmn/Export.h>
#include <dmn/IDaemonOperationProgress.h>

#include <fdn/CBase.h>
#include <fdn/CMutex.h>
#include <fdn/P.h>

namespace dmn {

class RunReport;

/// Runs one daemon in the current process: holds its PID file for exactly as long as it runs, keeps the run
/// status, and carries a stop request from any thread to the daemon.
///
/// It tells the supervisor of the process, if there is one (fdn::notifySupervisor()): each step of the
/// initialization, that the daemon is ready, that a stop was asked for, and why the run has failed.
///
/// A manager serves one run, because its status never leaves Stopped. It locks itself first, then the daemon;
/// it calls the daemon's init() and run() with no lock held, so that a running daemon delays no stop request.
///
///     fdn::P<dmn::CDaemonManager> const manager = fdn::newObj<dmn::CDaemonManager>();
///     manager->runDaemon(daemon.get()); // until another thread calls manager->signalStop()
class DMN_EXPORT CDaemonManager : public fdn::CBase, public virtual IDaemonOperationProgress {
public:
    /// How far the run has come. setStatus() says which status may follow which; the numbers are fixed.
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

    /// Claims the PID file, runs the daemon on the calling thread, and returns when it has ended and the file
    /// is given up. The manager holds a reference to the daemon meanwhile. A stop that was requested before
    /// reaches the daemon before its init().
    ///
    /// Throws whatever the daemon's init() and run() throw, and a CError when the daemon is null or the PID
    /// file cannot be claimed, for instance because another process holds it. Every std::exception is logged.
    /// The PID file is given up before that, and the status is Stopped afterwards. Any other exception passes
    /// through: the PID file is given up, but the daemon stays attached, and the status stays.
    void runDaemon(CDaemon* daemon);

    /// Asks the running daemon, or the next one to run, to stop, and returns at once. Any thread may call it
    /// at any time.
    void signalStop();

    /// Changes the status, unless the change would undo a stop: Stopping can only become Stopped, and Stopped
    /// stays. The supervisor is told when the status is Running, and when it is Stopping, for the first time.
    /// Any thread may call it.
    void setStatus(Status status);

    /// Called when a step of starting the daemon is done: three times by runDaemon(), and by the daemon's
    /// init() as it likes. A derived class may override it to observe the progress. The base version tells
    /// the supervisor of the steps that init() reports, and does nothing else.
    void onOperationStepDone() override;

protected:
    fdn::CMutex m_mutex;                ///< guards the two fields below
    Status m_status = Status::Starting; ///< see setStatus()
    fdn::P<CDaemon> m_daemon;           ///< the running daemon, or empty

private:
    friend class CDaemonEntry;

    DMN_HIDDEN void runHoldingPIDFile(CDaemon* daemon);
    DMN_HIDDEN void attachDaemon(CDaemon* daemon);
    DMN_HIDDEN void detachDaemon();

    DMN_HIDDEN void initialize(CDaemon& daemon);
    DMN_HIDDEN void announceRunning();
    DMN_HIDDEN bool hasEnded();
    DMN_HIDDEN RunReport& getReport();

    void* m_reserved; ///< the RunReport, which this object owns
};

} // namespace dmn
