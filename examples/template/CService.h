#pragma once

#include <dmn/dmn.h>

#include <condition_variable>
#include <mutex>

/// The service. What it does is a placeholder: once a minute it notes in the log that it is there.
class CService : public dmn::CDaemon {
public:
    using CDaemon::CDaemon;

    void run() override;

    /// Ends the wait between two rounds, so that run() looks at shouldStop() at once. Any thread may call it.
    void wakeUp();

private:
    void waitForNextRound();

    std::mutex m_waitMutex;
    std::condition_variable m_wakeUp;
};
