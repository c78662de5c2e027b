#include <dmn/CServiceEntry.h>

namespace dmn {

class CServiceEntry::State {};

CServiceEntry::CServiceEntry() = default;

CServiceEntry::~CServiceEntry() = default;

int CServiceEntry::entry(int argc, char** argv) {
    return CDaemonEntry::entry(argc, argv);
}

fdn::TList<CommandDescription> CServiceEntry::describeOwnCommands() {
    return {};
}

void CServiceEntry::doStatus() {}

void CServiceEntry::doRestart() {}

void CServiceEntry::doCheck() {}

void CServiceEntry::doHelp() {}

void CServiceEntry::addCommandLineOptions(wxCmdLineParser& parser) {
    CDaemonEntry::addCommandLineOptions(parser);
}

bool CServiceEntry::verifyCommandParams(fdn::String const& command, wxCmdLineParser& parser) {
    return CDaemonEntry::verifyCommandParams(command, parser);
}

void CServiceEntry::handleCommandParams(wxCmdLineParser& parser) {
    CDaemonEntry::handleCommandParams(parser);
}

void CServiceEntry::doCommand(fdn::String const& command) {
    CDaemonEntry::doCommand(command);
}

void CServiceEntry::doInstall() {
    CDaemonEntry::doInstall();
}

void CServiceEntry::doUninstall() {
    CDaemonEntry::doUninstall();
}

void CServiceEntry::doStart() {
    CDaemonEntry::doStart();
}

void CServiceEntry::doStop() {
    CDaemonEntry::doStop();
}

void CServiceEntry::doRun() {
    CDaemonEntry::doRun();
}

void CServiceEntry::doDaemon() {
    CDaemonEntry::doDaemon();
}

} // namespace dmn
