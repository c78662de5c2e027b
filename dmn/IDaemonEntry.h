#pragma once

#include <dmn/Export.h>

namespace dmnm {

/// What a host that knows nothing of the framework holds of a daemon's front end: it runs a command line,
/// gives the object up, and may ask a running daemon to stop.
class DMN_EXPORT IDaemonEntry {
public:
    virtual ~IDaemonEntry();

    /// Runs one command line on the calling thread and returns the exit status.
    virtual int entry(int argc, char** argv) = 0;

    /// Gives the object up; it must not be used afterwards.
    virtual void dispose() = 0;

    /// Asks the daemon that entry() is running to stop. Any thread may call it.
    virtual void signalStop() = 0;
};

} // namespace dmnm
