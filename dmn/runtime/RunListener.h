#pragma once

namespace dmn {

/// Whom a daemon tells how its run goes. It is told with the daemon's lock held, and on any thread.
class RunListener {
public:
    /// The daemon is ready, and about to run.
    virtual void onRunning() = 0;

    /// The daemon was asked to stop, possibly not for the first time.
    virtual void onStopRequested() = 0;

protected:
    ~RunListener() = default;
};

} // namespace dmn
