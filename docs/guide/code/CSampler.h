#pragma once

#include <dmn/dmn.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <fstream>
#include <mutex>

/// The service: appends the machine's load to a file in its control folder at regular intervals.
class CSampler : public dmn::CDaemon {
public:
    CSampler(fdn::String const& id, fdn::Path const& controlFolder, long intervalSeconds,
             fdn::String const& label);

    void init(dmn::IDaemonOperationProgress* progress) override;
    void run() override;

    /// Ends the wait for the next sample, so that run() looks at shouldStop() at once. Any thread may call
    /// it.
    void wakeUp();

    /// Has the file opened anew before the next sample, which is taken at once. Any thread may call it.
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
