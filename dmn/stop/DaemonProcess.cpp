#include <dmn/stop/DaemonProcess.h>

#include <fdn/CError.h>
#include <fdn/CPIDFile.h>
#include <fdn/CProps.h>

#include <cerrno>
#include <system_error>

#include <signal.h>

namespace dmn {

namespace {

// The kernel ends a process as soon as it has left the system call in which it is; a disk may need a while.
constexpr int kKillMs = 5000;

} // namespace

DaemonProcess::DaemonProcess(fdn::String const& id, fdn::Path const& pidFile, pid_t process)
    : m_id(id), m_pidFile(pidFile), m_number(process), m_process(process) {}

fdn::String DaemonProcess::describe() const {
    return "The daemon '" + m_id + fdn::String::Format("' (process %d)", m_number);
}

bool DaemonProcess::isHolder() const {
    return fdn::CPIDFile::getActivePID(m_pidFile) == m_number;
}

void DaemonProcess::askToStop() const {
    send(SIGTERM);
}

bool DaemonProcess::awaitEnd(Deadline const& deadline) const {
    return m_process.awaitEnd(deadline.getRestMs());
}

void DaemonProcess::kill() const {
    requireCertainty();
    send(SIGKILL);
    if (!m_process.awaitEnd(kKillMs))
        throw fdn::CError(fdn::String::Format("The process %d of the daemon '", m_number) + m_id +
                          "' does not even end by SIGKILL: the system keeps it, waiting for a disk perhaps.");
}

void DaemonProcess::send(int signal) const {
    if (m_process.sendSignal(signal))
        return;
    int const error = errno;
    if (error == ESRCH) // it has just ended
        return;
    throw fdn::CError("The daemon '" + m_id + "' cannot be stopped: its process " +
                          fdn::String::Format("%d", m_number) + " cannot be signalled (" +
                          fdn::String::fromBytes(std::generic_category().message(error)) + ").",
                      "", error, fdn::CProps(), nullptr);
}

// Without a handle, the number may be another process's since the daemon's gave up its file.
void DaemonProcess::requireCertainty() const {
    if (m_process.getDescriptor() == -1 && !isHolder())
        throw fdn::CError("The daemon '" + m_id + "' has given up its PID file, so it is not certain that " +
                          fdn::String::Format("process %d", m_number) +
                          " is still its own. It was not ended by force.");
}

} // namespace dmn
