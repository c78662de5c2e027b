#include "CHeartbeatEntry.h"

#include "CHeartbeat.h"

#include <fdn/files.h>

#include <cstdio>
#include <filesystem>

namespace {

// The exit statuses with which init scripts answer "status" (LSB Core 5.0, 22.2).
constexpr int kRunning = 0;
constexpr int kDeadWithPIDFile = 1;
constexpr int kNotRunning = 3;

constexpr long kLongestInterval = 24L * 60 * 60;

/// Passes SIGTERM on to the front end, then wakes the daemon, which sleeps between two beats.
class CWakingSignalHandler : public fdn::CBase, public virtual fdn::ISystemSignalHandler {
public:
    CWakingSignalHandler(fdn::P<fdn::ISystemSignalHandler> const& next, fdn::P<CHeartbeat> const& daemon)
        : m_next(next), m_daemon(daemon) {}

    void handleSystemSignal(fdn::SysSignal signal) override {
        m_next->handleSystemSignal(signal);
        m_daemon->wakeUp();
    }

private:
    fdn::P<fdn::ISystemSignalHandler> m_next;
    fdn::P<CHeartbeat> m_daemon;
};

// The option is a text, because the parser's numbers are of the type long. Where that has only 32 bits, the
// parser would say that a longer number is none.
bool isInterval(wxString const& text) {
    wxLongLong_t seconds = 0;
    return text.ToLongLong(&seconds) && seconds >= 1 && seconds <= kLongestInterval;
}

int print(fdn::String const& text, int status) {
    std::puts(text.toUTF8().c_str());
    return status;
}

} // namespace

int CHeartbeatEntry::entry(int argc, char** argv) {
    int const status = CDaemonEntry::entry(argc, argv);
    return status == 0 ? m_status : status;
}

fdn::P<dmn::CDaemonInfo> CHeartbeatEntry::createDaemonInfo() {
    auto info = fdn::newObj<dmn::CDaemonInfo>();
    info->defaultId = "heartbeat";
    info->displayName = "Heartbeat";
    info->description = "Writes a line at regular intervals.";
    info->startAtBoot = true;
    info->exePath = fdn::Path(fdn::String::fromBytes(std::filesystem::read_symlink("/proc/self/exe")));
    // install stores them, and start gives them back to the daemon on its command line.
    info->params = {fdn::String::Format("--interval=%ld", m_intervalSeconds), "--message=" + m_message};
    return info;
}

fdn::P<dmn::CDaemon> CHeartbeatEntry::createDaemon(fdn::String const& id, fdn::Path const& controlFolder) {
    auto const daemon = fdn::newObj<CHeartbeat>(id, controlFolder, m_intervalSeconds, m_message);
    auto const handler = fdn::newObj<CWakingSignalHandler>(m_signalHandler, daemon);
    fdn::CSystemSignalReceiver::get().setHandler(fdn::SysSignal::Terminate, handler.get());
    return daemon;
}

void CHeartbeatEntry::addCommandLineOptions(wxCmdLineParser& parser) {
    CDaemonEntry::addCommandLineOptions(parser);
    parser.AddOption("n", "interval", "Seconds between two beats. Default: 5");
    parser.AddOption("m", "message", "The text of a beat. Default: still alive");
}

bool CHeartbeatEntry::verifyCommandParams(fdn::String const& command, wxCmdLineParser& parser) {
    wxString interval;
    if (parser.Found("interval", &interval) && !isInterval(interval)) {
        print(fdn::String::Format("\nError: the interval must be from 1 to %ld seconds.\n", kLongestInterval),
              0);
        return false;
    }
    return CDaemonEntry::verifyCommandParams(command, parser);
}

void CHeartbeatEntry::handleCommandParams(wxCmdLineParser& parser) {
    CDaemonEntry::handleCommandParams(parser);
    wxString interval;
    if (parser.Found("interval", &interval))
        interval.ToLong(&m_intervalSeconds);
    wxString message;
    if (parser.Found("message", &message))
        m_message = message;
}

void CHeartbeatEntry::doCommand(fdn::String const& command) {
    if (command == "status")
        m_status = printStatus();
    else
        CDaemonEntry::doCommand(command);
}

int CHeartbeatEntry::printStatus() {
    if (m_controlFolder.getText().empty() && !m_controller->isInstalled())
        return print(m_daemonId + " is not installed.", kNotRunning);
    fdn::Path const folder = m_controller->getControlFolder();
    int const pid = dmn::CDaemonController::getActivePID(folder, m_daemonId);
    if (pid > 0)
        return print(m_daemonId + fdn::String::Format(" is running as process %d.", pid), kRunning);
    if (fdn::fileExists(folder << fdn::Path(m_daemonId + ".pid")))
        return print(m_daemonId + " is dead, but its PID file is still there.", kDeadWithPIDFile);
    return print(m_daemonId + " is not running.", kNotRunning);
}
