#include <dmn/service/printNotice.h>

#include <dmn/commandline/printText.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <string>

#include <poll.h>
#include <signal.h>
#include <unistd.h>

namespace dmn {

namespace {

// For a slow console.
constexpr int kPatienceMs = 1000;

/// While it lives, a write of this thread to a pipe without a reader fails with EPIPE and nothing else.
class BrokenPipeHeld {
public:
    BrokenPipeHeld() {
        sigemptyset(&m_signal);
        sigaddset(&m_signal, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &m_signal, &m_before);
    }

    BrokenPipeHeld(BrokenPipeHeld const&) = delete;
    BrokenPipeHeld& operator=(BrokenPipeHeld const&) = delete;

    ~BrokenPipeHeld() {
        timespec const atOnce = {};
        sigtimedwait(&m_signal, nullptr, &atOnce);
        pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
    }

private:
    sigset_t m_signal = {};
    sigset_t m_before = {};
};

bool awaitRoom() {
    pollfd event = {STDOUT_FILENO, POLLOUT, 0};
    return poll(&event, 1, kPatienceMs) == 1 && (event.revents & POLLOUT) != 0;
}

// A pipe with room takes PIPE_BUF bytes without blocking (POSIX poll, write).
bool writePiece(std::string& bytes) {
    ssize_t const written =
        awaitRoom() ? write(STDOUT_FILENO, bytes.data(), std::min<std::size_t>(bytes.size(), PIPE_BUF)) : -1;
    if (written == -1)
        return false;
    bytes.erase(0, static_cast<std::size_t>(written));
    return true;
}

} // namespace

void printNotice(fdn::String const& text) noexcept {
    static bool isRead = true; // nobody waits twice for the same reader
    try {
        std::string bytes = encodeForTerminal(text + "\n");
        BrokenPipeHeld const held;
        if (isRead && awaitRoom())
            std::fflush(stdout); // what the application has printed before
        while (isRead && !bytes.empty())
            isRead = writePiece(bytes);
    } catch (std::exception const&) { // NOLINT(bugprone-empty-catch): it is lost
    }
}

} // namespace dmn
