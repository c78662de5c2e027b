#pragma once

#include <dmn/dmn.h>

#include <fstream>

/// The service: at regular intervals, appends the machine's load to a file in its control folder.
class CSampler : public dmn::CService {
public:
    CSampler(fdn::String const& id, fdn::Path const& controlFolder, int intervalSeconds,
             fdn::String const& label);

    void init(dmn::IDaemonOperationProgress* progress) override;
    void run() override;

    /// Reopens the file, which somebody may have moved away.
    void reload() override;

private:
    void openFile();
    void writeSample();

    int m_intervalSeconds;
    fdn::String m_label;
    std::ofstream m_file;
};
