#include <dmn/dmn.h>

#include <cstdio>
#include <string>

void print(fdn::String const& text) {
    std::puts(text.toUTF8().c_str());
}

void showAll() {
    for (fdn::String const& id : dmn::findInstalledDaemons()) {
        dmn::DaemonSettings const settings = dmn::readDaemonSettings(id);
        print(id + " is " + settings.executable.getText());
    }
}

int showStatus(fdn::String const& id) {
    dmn::DaemonStatus const status = dmn::getDaemonStatus(id, fdn::Path());
    switch (status.state) {
    case dmn::DaemonState::NotInstalled:
        print(id + " is not installed.");
        break;
    case dmn::DaemonState::Stopped:
        print(id + " does not run.");
        break;
    case dmn::DaemonState::Dead:
        print(id + " has died.");
        break;
    case dmn::DaemonState::Running:
        print(id + fdn::String::Format(" runs as process %d.", status.process));
        break;
    case dmn::DaemonState::Unknown:
        print(id + ": " + status.reason);
        break;
    }
    return dmn::getExitStatusOf(status.state);
}

void start(fdn::String const& id) {
    dmn::CDaemonStarter starter(id, fdn::Path());
    starter.setProgress(print);
    bool const isNew = starter.start(30000) == dmn::CDaemonStarter::Outcome::Started;
    print(id + (isNew ? " is ready" : " runs already") +
          fdn::String::Format(" as process %d.", starter.getProcess()));
}

void stop(fdn::String const& id) {
    dmn::CDaemonStopper stopper(id, fdn::Path());
    if (stopper.stop(10000, dmn::CDaemonStopper::Force::Yes) == dmn::CDaemonStopper::Outcome::Killed)
        print(fdn::String::Format("Process %d had to be killed.", stopper.getProcess()));
}

int check(fdn::String const& id) {
    fdn::TList<dmn::DaemonFinding> const findings = dmn::checkDaemon(id, fdn::Path());
    for (dmn::DaemonFinding const& finding : findings) {
        print(finding.problem);
        if (!finding.remedy.empty())
            print("    " + finding.remedy);
    }
    return findings.empty() ? 0 : 1;
}

int perform(std::string const& command, fdn::String const& id) {
    if (command == "status")
        return showStatus(id);
    if (command == "check")
        return check(id);
    if (command == "log")
        print(dmn::getDaemonLogFile(id).getText());
    if (command == "stop" || command == "restart")
        stop(id);
    if (command == "start" || command == "restart")
        start(id);
    return 0;
}

// Usage: operations list
//        operations status|check|log|start|stop|restart ID
int main(int argc, char** argv) {
    try {
        fdn::CFdnInit const foundation(true);
        if (argc == 2 && std::string(argv[1]) == "list") {
            showAll();
            return 0;
        }
        if (argc != 3)
            throw fdn::CError("A command and an ID are needed.");
        return perform(argv[1], fdn::String::fromBytes(argv[2]));
    } catch (std::exception const& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 2;
    }
}
