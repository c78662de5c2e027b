#pragma once

#include <dmn/dmn.h>

#include <condition_variable>
#include <mutex>

/// The service. Its work is a placeholder: once a minute it logs that it is there.
class CService : public dmn::CDaemon {
public:
    using CDaemon::CDaemon;

    void run() override;

    /// Ends the wait between two rounds, so that run() checks shouldStop() at once. Any thread may call it.
    void wakeUp();

private:
    void waitForNextRound();

    std::mutex m_waitMutex;
    std::condition_variable m_wakeUp;
};
