#include "CHeartbeatEntry.h"

#include "CHeartbeat.h"

#include <fdn/CError.h>

#include <cstdio>
#include <fstream>
#include <string>

namespace {

constexpr int kLongestInterval = 24 * 60 * 60;

// The option is a text, because the parser's numbers are of the type long. Where that has only 32 bits, the
// parser would say that a longer number is none.
bool isInterval(wxString const& text) {
    wxLongLong_t seconds = 0;
    return text.ToLongLong(&seconds) && seconds >= 1 && seconds <= kLongestInterval;
}

} // namespace

fdn::P<dmn::CDaemonInfo> CHeartbeatEntry::createDaemonInfo() {
    auto info = fdn::newObj<dmn::CDaemonInfo>();
    info->defaultId = "heartbeat";
    info->displayName = "Heartbeat";
    info->description = "Writes a line at regular intervals.";
    info->version = "1.1";
    info->startAtBoot = true;
    // install stores them, and start gives them back to the daemon on its command line.
    info->params = {fdn::String::Format("--interval=%d", m_intervalSeconds), "--message=" + m_message};
    return info;
}

fdn::P<dmn::CDaemon> CHeartbeatEntry::createDaemon(fdn::String const& id, fdn::Path const& controlFolder) {
    return fdn::newObj<CHeartbeat>(id, controlFolder, m_intervalSeconds, m_message);
}

fdn::TList<dmn::CommandDescription> CHeartbeatEntry::describeOwnCommands() {
    return {{"last", "show the last beat"}};
}

void CHeartbeatEntry::addCommandLineOptions(wxCmdLineParser& parser) {
    CServiceEntry::addCommandLineOptions(parser);
    parser.AddOption("n", "interval", "the seconds between two beats. Default: 5");
    parser.AddOption("m", "message", "the text of a beat. Default: still alive");
}

bool CHeartbeatEntry::verifyCommandParams(fdn::String const& command, wxCmdLineParser& parser) {
    wxString interval;
    if (parser.Found("interval", &interval) && !isInterval(interval)) {
        std::printf("\nError: the interval must be from 1 to %d seconds.\n\n", kLongestInterval);
        return false;
    }
    return CServiceEntry::verifyCommandParams(command, parser);
}

void CHeartbeatEntry::handleCommandParams(wxCmdLineParser& parser) {
    CServiceEntry::handleCommandParams(parser);
    wxString interval;
    long seconds = 0;
    if (parser.Found("interval", &interval) && interval.ToLong(&seconds))
        m_intervalSeconds = static_cast<int>(seconds);
    wxString message;
    if (parser.Found("message", &message))
        m_message = message;
}

void CHeartbeatEntry::doCommand(fdn::String const& command) {
    if (command == "last")
        printLastBeat();
    else
        CServiceEntry::doCommand(command);
}

void CHeartbeatEntry::printLastBeat() {
    fdn::Path const path = m_controller->getControlFolder() << fdn::Path(m_daemonId + ".txt");
    std::ifstream file(path.getText().toUTF8());
    std::string last;
    for (std::string line; std::getline(file, line);)
        last = line;
    if (last.empty())
        throw fdn::CError("There is no beat in '" + path.getText() + "'.");
    std::puts(last.c_str());
}
