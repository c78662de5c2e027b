#pragma once

namespace dmn {

/// Whom a daemon tells that it was asked to stop. It is told with the daemon's lock held, possibly more than
/// once, and on any thread.
class StopListener {
public:
    virtual void onStopRequested() = 0;

protected:
    ~StopListener() = default;
};

} // namespace dmn
