#pragma once

#include <fdn/Descriptor.h>

#include <cerrno>
#include <csignal>
#include <ctime>

namespace fdn {

/// Keeps what the calling thread writes from ending the program: with SIGPIPE when a pipe has lost its
/// reader, with SIGXFSZ at the limit for the size of files. The write then fails, which is enough. How the
/// process treats the signals stays untouched, and so does errno.
class FatalSignalsHeldBack {
public:
    FatalSignalsHeldBack() {
        sigset_t pending;
        sigpending(&pending);
        sigemptyset(&m_signals);
        for (int const signal : {SIGPIPE, SIGXFSZ})
            if (sigismember(&pending, signal) == 0) // one that pends is held back by somebody else
                sigaddset(&m_signals, signal);
        pthread_sigmask(SIG_BLOCK, &m_signals, &m_callersMask);
    }

    FatalSignalsHeldBack(FatalSignalsHeldBack const&) = delete;
    FatalSignalsHeldBack& operator=(FatalSignalsHeldBack const&) = delete;

    ~FatalSignalsHeldBack() {
        int const savedError = errno;
        timespec const atOnce = {};
        uninterrupted([&] { return sigtimedwait(&m_signals, nullptr, &atOnce); });
        pthread_sigmask(SIG_SETMASK, &m_callersMask, nullptr);
        errno = savedError;
    }

private:
    sigset_t m_signals;
    sigset_t m_callersMask;
};

} // namespace fdn
