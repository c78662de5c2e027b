#pragma once

#include <csignal>

namespace fdn {

/// Blocks every signal in the calling thread for as long as the object lives, and then restores the thread's
/// mask. Threads and processes that are started meanwhile begin with every signal blocked. Destroy it in the
/// thread that made it.
class AllSignalsBlocked {
public:
    AllSignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &m_previous);
    }

    AllSignalsBlocked(AllSignalsBlocked const&) = delete;
    AllSignalsBlocked& operator=(AllSignalsBlocked const&) = delete;

    ~AllSignalsBlocked() { pthread_sigmask(SIG_SETMASK, &m_previous, nullptr); }

private:
    sigset_t m_previous;
};

} // namespace fdn
