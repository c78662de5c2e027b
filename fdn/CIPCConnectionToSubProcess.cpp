#include <fdn/CIPCConnectionToSubProcess.h>

#include <fdn/Descriptor.h>
#include <fdn/sysError.h>

#include <cerrno>
#include <csignal>
#include <ctime>

#include <unistd.h>

namespace fdn {

namespace {

// Keeps what this thread writes to a pipe that nobody reads from raising SIGPIPE, without touching the
// process's way to treat that signal. errno stays as it was.
class PipeSignalHeldBack {
public:
    PipeSignalHeldBack() {
        sigset_t pending;
        sigpending(&pending);
        m_wasPending = sigismember(&pending, SIGPIPE) == 1;
        sigemptyset(&m_pipeSignal);
        sigaddset(&m_pipeSignal, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &m_pipeSignal, &m_previous);
    }

    PipeSignalHeldBack(PipeSignalHeldBack const&) = delete;
    PipeSignalHeldBack& operator=(PipeSignalHeldBack const&) = delete;

    ~PipeSignalHeldBack() {
        int const savedError = errno;
        timespec const atOnce = {};
        if (!m_wasPending)
            uninterrupted([&] { return sigtimedwait(&m_pipeSignal, nullptr, &atOnce); });
        pthread_sigmask(SIG_SETMASK, &m_previous, nullptr);
        errno = savedError;
    }

private:
    sigset_t m_pipeSignal;
    sigset_t m_previous;
    bool m_wasPending;
};

ssize_t writeQuietly(int descriptor, char const* data, std::size_t size) {
    PipeSignalHeldBack const heldBack;
    return uninterrupted([&] { return ::write(descriptor, data, size); });
}

} // namespace

CIPCConnectionToSubProcess::~CIPCConnectionToSubProcess() {
    CIPCConnectionToSubProcess::close();
}

void CIPCConnectionToSubProcess::attach(int descriptor) {
    close();
    m_descriptor = descriptor;
}

std::size_t CIPCConnectionToSubProcess::read(void* buffer, std::size_t size) {
    ssize_t const count = uninterrupted([&] { return ::read(m_descriptor, buffer, size); });
    if (count == -1)
        throwLastSysError("read", "CIPCConnectionToSubProcess::read");
    return static_cast<std::size_t>(count);
}

void CIPCConnectionToSubProcess::write(void const* data, std::size_t size) {
    auto const* const bytes = static_cast<char const*>(data);
    std::size_t written = 0;
    while (written < size) {
        ssize_t const count = writeQuietly(m_descriptor, bytes + written, size - written);
        if (count == -1)
            throwLastSysError("write", "CIPCConnectionToSubProcess::write");
        written += static_cast<std::size_t>(count);
    }
}

void CIPCConnectionToSubProcess::close() noexcept {
    Descriptor const closed(m_descriptor);
    m_descriptor = -1;
}

} // namespace fdn
