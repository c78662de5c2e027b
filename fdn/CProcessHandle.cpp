#include <fdn/CProcessHandle.h>

#include <fdn/CThread.h>
#include <fdn/pidfile/ProcessIdentity.h>
#include <fdn/sysError.h>
#include <fdn/system/Deadline.h>
#include <fdn/system/openProcess.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace fdn {

namespace {

constexpr int kPauseMs = 50;

// Signals shorten the rest of the time, and do not begin it anew.
bool awaitReadable(int handle, Deadline deadline) {
    pollfd end = {handle, POLLIN, 0};
    int const count = uninterrupted([&] { return poll(&end, 1, getMillisecondsUntil(deadline)); });
    if (count == -1)
        throwLastSysError("poll", "awaiting the end of a process");
    return count == 1;
}

bool awaitDeath(pid_t process, Deadline deadline) {
    while (isProcessAlive(process)) {
        int const rest = getMillisecondsUntil(deadline);
        if (rest == 0)
            return false;
        CThread::sleep(static_cast<unsigned>(std::min(rest, kPauseMs)));
    }
    return true;
}

} // namespace

CProcessHandle::CProcessHandle(pid_t process) noexcept
    : m_process(process), m_handle(openProcess(process).release()) {
    // Otherwise the signal would go, by number, to whichever process gets that number later.
    if (m_handle == -1 && errno == ESRCH)
        m_process = 0;
}

CProcessHandle::~CProcessHandle() {
    Descriptor const closed(m_handle);
}

bool CProcessHandle::sendSignal(int signal) const noexcept {
    // kill() takes such numbers for groups of processes, or for all of them.
    if (m_process < 1) {
        errno = ESRCH;
        return false;
    }
    if (m_handle != -1) {
        bool const isSent = syscall(SYS_pidfd_send_signal, m_handle, signal, nullptr, 0) == 0;
        // Some sandboxes give a handle but do not let it be used.
        if (isSent || errno != ENOSYS)
            return isSent;
    }
    return kill(m_process, signal) == 0;
}

bool CProcessHandle::awaitEnd(int timeoutMs) const {
    Deadline const deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    if (m_process < 1)
        return true;
    return m_handle != -1 ? awaitReadable(m_handle, deadline) : awaitDeath(m_process, deadline);
}

} // namespace fdn
