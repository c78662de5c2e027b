#pragma once

#include <dmn/dmn.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <fstream>
#include <mutex>

/// The service: at regular intervals, appends the machine's load to a file in its control folder.
class CSampler : public dmn::CDaemon {
public:
    CSampler(fdn::String const& id, fdn::Path const& controlFolder, long intervalSeconds,
             fdn::String const& label);

    void init(dmn::IDaemonOperationProgress* progress) override;
    void run() override;

    /// Ends the wait for the next sample, so that run() checks shouldStop() at once. Any thread may call it.
    void wakeUp();

    /// Makes run() reopen the file and take the next sample at once. Any thread may call it.
    void requestReopening();

private:
    void openFile();
    void writeSample();
    void waitForNextSample();

    std::chrono::seconds m_interval;
    fdn::String m_label;
    std::ofstream m_file;
    std::mutex m_waitMutex;
    std::condition_variable m_wakeUp;
    std::atomic<bool> m_reopeningRequested{false};
};
