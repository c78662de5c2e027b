#pragma once

#include <dmn/CDaemonEntry.h>

/// The front end: adds the options --interval and --message and the command status.
class CHeartbeatEntry : public dmn::CDaemonEntry {
public:
    /// Like the base version, but the command status answers with the exit status.
    int entry(int argc, char** argv) override;

    fdn::P<dmn::CDaemonInfo> createDaemonInfo() override;
    fdn::P<dmn::CDaemon> createDaemon(fdn::String const& id, fdn::Path const& controlFolder) override;
    void addCommandLineOptions(wxCmdLineParser& parser) override;
    bool verifyCommandParams(fdn::String const& command, wxCmdLineParser& parser) override;
    void handleCommandParams(wxCmdLineParser& parser) override;
    void doCommand(fdn::String const& command) override;

private:
    int printStatus();

    long m_intervalSeconds = 5;
    fdn::String m_message{"still alive"};
    int m_status = 0;
};
