#pragma once

#include <signal.h>

namespace test {

/// Blocks a signal in the thread that makes the object, until the object goes in that same thread.
class BlockedSignal {
public:
    explicit BlockedSignal(int signal) {
        sigset_t set;
        sigemptyset(&set);
        sigaddset(&set, signal);
        pthread_sigmask(SIG_BLOCK, &set, &m_previous);
    }

    BlockedSignal(BlockedSignal const&) = delete;
    BlockedSignal& operator=(BlockedSignal const&) = delete;

    ~BlockedSignal() { pthread_sigmask(SIG_SETMASK, &m_previous, nullptr); }

private:
    sigset_t m_previous;
};

} // namespace test
