#pragma once

#include <dmn/Export.h>
#include <dmn/IDaemonOperationProgress.h>

#include <fdn/CBase.h>
#include <fdn/CMutex.h>
#include <fdn/Path.h>
#include <fdn/String.h>

namespace dmn {

/// The base of an application's service.
///
/// The application implements run(), which does the work and returns once shouldStop() is true, and may
/// override init(). Both are called on the main thread, by the manager; signalStop() comes from another
/// thread.
///
///     void CMyDaemon::run() {
///         while (!shouldStop())
///             doSomeWork();
///     }
class DMN_EXPORT CDaemon : public fdn::CBase {
public:
    /// The ID and the control folder under which the daemon is installed and controlled.
    CDaemon(fdn::String const& id, fdn::Path const& controlFolder);
    CDaemon(CDaemon const&) = delete;
    CDaemon& operator=(CDaemon const&) = delete;
    ~CDaemon() override;

    /// Prepares the service, before run(). An override may report each step of a lengthy preparation to the
    /// progress object, which outlives the call. What it throws ends the daemon without run() being called.
    /// The base version does nothing.
    virtual void init(IDaemonOperationProgress* progress);

    /// Does the daemon's work and returns when the service has stopped. How it waits between looks at
    /// shouldStop() is the application's choice. What it throws ends the daemon.
    virtual void run() = 0;

    /// Asks the daemon to stop, for good. Any thread may call it, any number of times.
    void signalStop();

    /// Whether the daemon was asked to stop. Any thread may call it, as often as it likes.
    bool shouldStop() const;

    /// The ID under which the daemon is installed and controlled. It never changes.
    fdn::String const& getId() const { return m_id; }

    /// The folder that holds the PID file, as it was given. It never changes.
    fdn::Path const& getControlFolder() const { return m_controlFolder; }

private:
    mutable fdn::CMutex m_mutex;
    bool m_stopRequested = false;
    fdn::String m_id;
    fdn::Path m_controlFolder;
};

} // namespace dmn
