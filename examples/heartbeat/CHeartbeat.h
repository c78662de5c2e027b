#pragma once

#include <dmn/CDaemon.h>

#include <fdn/P.h>
#include <fdn/String.h>

#include <condition_variable>
#include <fstream>
#include <mutex>

/// The service: at regular intervals, appends a line to a file in its control folder.
class CHeartbeat : public dmn::CDaemon {
public:
    CHeartbeat(fdn::String const& id, fdn::Path const& controlFolder, long intervalSeconds,
               fdn::String const& message);

    /// Opens the file, then writes the first line: these are two steps of progress.
    void init(dmn::IDaemonOperationProgress* progress) override;

    void run() override;

    /// Ends the wait for the next beat, so that run() checks shouldStop() at once. Any thread may call it.
    void wakeUp();

private:
    void writeLine(fdn::String const& text);
    void waitForNextBeat();

    std::chrono::seconds m_interval;
    fdn::String m_message;
    std::ofstream m_file;
    std::mutex m_waitMutex;
    std::condition_variable m_wakeUp;
};
