#pragma once

#include <dmn/CService.h>

#include <fdn/String.h>

#include <fstream>

/// The service: at regular intervals, appends a line to a file in its control folder.
class CHeartbeat : public dmn::CService {
public:
    CHeartbeat(fdn::String const& id, fdn::Path const& controlFolder, int intervalSeconds,
               fdn::String const& message);

    /// Opens the file, then writes the first line: these are two steps of progress.
    void init(dmn::IDaemonOperationProgress* progress) override;

    void run() override;

private:
    void writeLine(fdn::String const& text);

    int m_intervalMs;
    fdn::String m_message;
    std::ofstream m_file;
};
