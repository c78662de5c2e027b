#include <fdn/CProcessHandle.h>

#include <fdn/system/openProcess.h>

#include <cerrno>
#include <csignal>

#include <sys/syscall.h>
#include <unistd.h>

namespace fdn {

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

bool CProcessHandle::awaitEnd(int) const {
    return false;
}

} // namespace fdn
