#pragma once

#include <fdn/Export.h>

#include <sys/types.h>

namespace fdn {

/// A handle on another process, for as long as the object lives (Linux pidfd_open). It stays with that
/// process: once the process is gone, the handle never reaches a later process with the same number.
///
/// A number that was read somewhere may belong to another process by now. So first take the handle, then make
/// sure that the number still stands for the process that is meant, and only then signal:
///
///     CProcessHandle const process(pid);
///     if (CPIDFile::getActivePID(path) == pid)
///         process.sendSignal(SIGTERM);
///
/// Where the system has no handles (Linux before 5.3, some sandboxes), the object keeps the number instead,
/// which the system may give to another process. Any thread may use the object.
class FDN_EXPORT CProcessHandle {
public:
    /// Takes the handle. Throws nothing: whether it worked shows when a signal is sent.
    explicit CProcessHandle(pid_t process) noexcept;

    CProcessHandle(CProcessHandle const&) = delete;
    CProcessHandle& operator=(CProcessHandle const&) = delete;
    ~CProcessHandle();

    /// Sends the signal, or with 0 only asks whether one could be sent (POSIX kill). Returns whether the
    /// system took it; otherwise errno says why: ESRCH when the process is gone, and for every number below
    /// 1, EPERM when this process may not signal it, EINVAL when there is no such signal. Does not wait for
    /// the process to react.
    bool sendSignal(int signal) const noexcept;

    /// Blocks until the process has ended, for at most `timeoutMs` milliseconds (0 or less: not at all), and
    /// returns whether it has. A zombie has ended; a number below 1 stands for no process. Signals neither
    /// shorten nor prolong the wait. Asks every 50 ms where the system has no handles. Throws CError when the
    /// system cannot tell.
    bool awaitEnd(int timeoutMs) const;

    /// A descriptor that becomes readable (POSIX poll) when the process ends, or -1 where the system has no
    /// handles. It belongs to this object.
    int getDescriptor() const noexcept { return m_handle; }

private:
    pid_t m_process; // 0: already gone when the handle was taken
    int m_handle;    // -1: none
};

} // namespace fdn
