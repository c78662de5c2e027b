#pragma once

#include <dmn/wait/Deadline.h>

#include <fdn/CProcessHandle.h>
#include <fdn/Path.h>
#include <fdn/String.h>

#include <sys/types.h>

namespace dmn {

/// A process that holds a daemon's PID file and is to end. What is done to it reaches no other process.
class DaemonProcess {
public:
    /// Takes a handle on the process.
    DaemonProcess(fdn::String const& id, fdn::Path const& pidFile, pid_t process);

    /// The daemon and this process for people: "The daemon 'backupd' (process 123)".
    fdn::String describe() const;

    /// Whether it holds the PID file now. Throws a CError when that is unclear.
    bool isHolder() const;

    /// Asks it to stop (SIGTERM). It may have ended already. Throws a CError when it may not be signalled.
    void askToStop() const;

    /// Waits for its end, and returns whether it has ended by the deadline.
    bool awaitEnd(Deadline const& deadline) const;

    /// Ends it by force (SIGKILL) and waits for its end. Throws a CError when it may not be signalled, when
    /// it is no longer certain which process has its number, and when it does not end within a few seconds.
    void kill() const;

private:
    void send(int signal) const;
    void requireCertainty() const;

    fdn::String m_id;
    fdn::Path m_pidFile;
    pid_t m_number;
    fdn::CProcessHandle m_process;
};

} // namespace dmn
