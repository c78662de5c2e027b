#include <fdn/system/writeQuietly.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <ctime>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace fdn {

namespace {

// Keeps the signals that a write can raise from the calling thread.
class FatalSignalsHeldBack {
public:
    FatalSignalsHeldBack() {
        sigemptyset(&m_signals);
        sigaddset(&m_signals, SIGPIPE);
        sigaddset(&m_signals, SIGXFSZ);
        pthread_sigmask(SIG_BLOCK, &m_signals, &m_callersMask);
        for (int const signal : {SIGPIPE, SIGXFSZ})
            if (sigismember(&m_callersMask, signal) == 1)
                leaveWhenPending(signal);
    }

    FatalSignalsHeldBack(FatalSignalsHeldBack const&) = delete;
    FatalSignalsHeldBack& operator=(FatalSignalsHeldBack const&) = delete;

    ~FatalSignalsHeldBack() { pthread_sigmask(SIG_SETMASK, &m_callersMask, nullptr); }

    // Takes those that were raised meanwhile. Leaves errno as it was.
    void discard() const {
        int const savedError = errno;
        timespec const atOnce = {};
        uninterrupted([&] { return sigtimedwait(&m_signals, nullptr, &atOnce); });
        errno = savedError;
    }

private:
    // One that the caller holds back, too, and that pends already is the caller's.
    void leaveWhenPending(int signal) {
        sigset_t pending;
        sigpending(&pending);
        if (sigismember(&pending, signal) == 1)
            sigdelset(&m_signals, signal);
    }

    sigset_t m_signals;
    sigset_t m_callersMask;
};

// A pipe then takes PIPE_BUF bytes, all at once (POSIX).
bool hasRoom(int descriptor) {
    pollfd pipe = {descriptor, POLLOUT, 0};
    if (poll(&pipe, 1, 0) > 0)
        return true;
    errno = EAGAIN;
    return false;
}

ssize_t writePieces(int descriptor, char const* bytes, std::size_t size) {
    std::size_t done = 0;
    while (done < size && hasRoom(descriptor)) {
        std::size_t const piece = std::min<std::size_t>(size - done, PIPE_BUF);
        ssize_t const written = writeQuietly(descriptor, bytes + done, piece);
        if (written == -1)
            break;
        done += static_cast<std::size_t>(written);
    }
    return done > 0 ? static_cast<ssize_t>(done) : -1;
}

} // namespace

ssize_t writeQuietly(int descriptor, char const* bytes, std::size_t size) {
    FatalSignalsHeldBack const heldBack;
    ssize_t const written = uninterrupted([&] { return write(descriptor, bytes, size); });
    if (written != static_cast<ssize_t>(size))
        heldBack.discard();
    return written;
}

bool writeAll(Descriptor const& file, std::string const& content) {
    std::size_t done = 0;
    while (done < content.size()) {
        ssize_t const written = writeQuietly(file.get(), content.data() + done, content.size() - done);
        // A program that makes up a file system (FUSE) may take nothing, as often as it is asked.
        if (written == 0)
            errno = ENOSPC;
        if (written <= 0)
            return false;
        done += static_cast<std::size_t>(written);
    }
    return true;
}

ssize_t writeWithoutWaiting(int descriptor, char const* bytes, std::size_t size) {
    ssize_t const sent = send(descriptor, bytes, size, MSG_DONTWAIT | MSG_NOSIGNAL);
    if (sent == -1 && errno == ENOTSOCK)
        return writePieces(descriptor, bytes, size);
    return sent;
}

} // namespace fdn
