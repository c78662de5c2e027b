#pragma once

#include <dmn/CServiceEntry.h>

/// The front end: adds the options --interval and --message and the command last.
class CHeartbeatEntry : public dmn::CServiceEntry {
public:
    fdn::P<dmn::CDaemonInfo> createDaemonInfo() override;
    fdn::P<dmn::CDaemon> createDaemon(fdn::String const& id, fdn::Path const& controlFolder) override;
    fdn::TList<dmn::CommandDescription> describeOwnCommands() override;
    void addCommandLineOptions(wxCmdLineParser& parser) override;
    bool verifyCommandParams(fdn::String const& command, wxCmdLineParser& parser) override;
    void handleCommandParams(wxCmdLineParser& parser) override;
    void doCommand(fdn::String const& command) override;

private:
    void printLastBeat();

    int m_intervalSeconds = 5;
    fdn::String m_message{"still alive"};
};
