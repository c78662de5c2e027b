#pragma once

#include <dmn/Export.h>

// The namespace is dmnm, not dmn: the interface is fixed, and so is its binary form. Do not repair it.
namespace dmnm {

/// A daemon's front end as seen by a host that knows nothing else of the framework: the host runs a command
/// line on it, may ask the running daemon to stop, and gives the object up. The order of the operations is
/// fixed.
class DMN_EXPORT IDaemonEntry {
public:
    virtual ~IDaemonEntry();

    /// Runs one command line on the calling thread; for a daemon, that lasts until it stops. Returns the exit
    /// status: 0 for success.
    virtual int entry(int argc, char** argv) = 0;

    /// Gives the object up: the host must neither use nor delete it afterwards.
    virtual void dispose() = 0;

    /// Asks the daemon that entry() is running to stop, and returns at once. Any thread may call it.
    virtual void signalStop() = 0;
};

} // namespace dmnm
