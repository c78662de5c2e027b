#pragma once

#include <dmn/readiness/ProcessEnd.h>

#include <fdn/CProcessHandle.h>

#include <sys/types.h>

namespace dmn {

/// A process that may become the daemon: the one that was launched, or one that it has started.
class StartedProcess {
public:
    /// Takes a handle on the process.
    explicit StartedProcess(pid_t process);

    StartedProcess(StartedProcess const&) = delete;
    StartedProcess& operator=(StartedProcess const&) = delete;

    /// Reaps it if it has ended and is a child of this process.
    ~StartedProcess();

    pid_t getNumber() const { return m_number; }

    /// Readable (POSIX poll) when the process ends, or -1 where the system has no such descriptors.
    int getDescriptor() const { return m_handle.getDescriptor(); }

    /// Whether it has ended. Reaps it then, if it is a child of this process.
    bool hasEnded();

    /// How it has ended, as far as this process knows.
    ProcessEnd const& getEnd() const { return m_end; }

    /// Blocks until no thread of the process has anything to do, or it has kept a processor busy for 10 ms,
    /// or for a second at most. Returns whether it lives then: not if it has ended or is about to.
    bool livesOn();

private:
    bool reap();

    pid_t m_number;
    fdn::CProcessHandle m_handle;
    bool m_hasEnded = false;
    ProcessEnd m_end;
};

/// Whether the process is a child of this one that has not been reaped yet.
bool isChild(pid_t process);

} // namespace dmn
