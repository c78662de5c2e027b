#pragma once

#include <dmn/Export.h>
#include <dmn/IDaemonOperationProgress.h>

#include <fdn/CBase.h>
#include <fdn/CMutex.h>
#include <fdn/Path.h>
#include <fdn/String.h>

namespace dmn {

class RunListener;

/// The base of an application's service.
///
/// The application implements run(), which does the work and returns once shouldStop() is true, and may
/// override init(). The manager calls both on the main thread, once, with no lock held; signalStop() comes
/// from another thread. One object serves one run, because a stop request is never taken back.
///
///     void CMyDaemon::run() {
///         while (!shouldStop())
///             doSomeWork();
///     }
class DMN_EXPORT CDaemon : public fdn::CBase {
public:
    /// Stores the ID and the control folder under which the daemon is installed and controlled. Touches no
    /// file.
    CDaemon(fdn::String const& id, fdn::Path const& controlFolder);
    CDaemon(CDaemon const&) = delete;
    CDaemon& operator=(CDaemon const&) = delete;
    ~CDaemon() override;

    /// Prepares the service, before run(); the PID file is held by then. An override may report each step of
    /// a lengthy preparation to the progress object, which outlives the call. What it throws ends the daemon,
    /// and run() is not called. The base version does nothing.
    virtual void init(IDaemonOperationProgress* progress);

    /// Does the daemon's work and returns when the service has stopped. Called even if a stop was requested
    /// before. How to wait between checks of shouldStop() is the application's choice; nothing wakes it up.
    /// What it throws ends the daemon.
    virtual void run() = 0;

    /// Asks the daemon to stop, for good, and returns at once. Any thread may call it, any number of times,
    /// but no handler of the system's signals may: it takes a lock.
    void signalStop();

    /// Whether the daemon was asked to stop. Never blocks for long. Any thread may call it.
    bool shouldStop() const;

    /// The ID under which the daemon is installed and controlled. Never changes.
    fdn::String const& getId() const { return m_id; }

    /// The folder that holds the PID file, as it was given. Never changes.
    fdn::Path const& getControlFolder() const { return m_controlFolder; }

private:
    friend class CDaemonManager;
    friend class CService;

    /// Sets whom to tell how the run goes, or nobody (null), and tells at once of a stop that came before.
    DMN_HIDDEN void setRunListener(RunListener* listener);

    /// Tells the listener that the daemon is ready.
    DMN_HIDDEN void signalRunning();

    mutable fdn::CMutex m_mutex;
    bool m_stopRequested = false;
    fdn::String m_id;
    fdn::Path m_controlFolder;
    void* m_reserved = nullptr; ///< the listener, or null
};

} // namespace dmn
