#include "CSampler.h"

#include <cstdio>
#include <deque>
#include <filesystem>
#include <string>

/// Passes signals on to the sampler: SIGTERM stops it, and SIGHUP makes it reopen its file.
class CSamplerSignals : public fdn::CBase, public virtual fdn::ISystemSignalHandler {
public:
    CSamplerSignals(fdn::P<fdn::ISystemSignalHandler> const& next, fdn::P<CSampler> const& sampler)
        : m_next(next), m_sampler(sampler) {}

    void handleSystemSignal(fdn::SysSignal signal) override {
        if (signal == fdn::SysSignal::Hangup) {
            m_sampler->requestReopening();
            return;
        }
        m_next->handleSystemSignal(signal);
        m_sampler->wakeUp();
    }

private:
    fdn::P<fdn::ISystemSignalHandler> m_next;
    fdn::P<CSampler> m_sampler;
};

/// The front end: adds the options --interval and --label and the command "last [COUNT]".
class CSamplerEntry : public dmn::CDaemonEntry {
public:
    int entry(int argc, char** argv) override {
        int const status = CDaemonEntry::entry(argc, argv);
        return status == 0 ? m_status : status;
    }

    void addCommandLineOptions(wxCmdLineParser& parser) override {
        CDaemonEntry::addCommandLineOptions(parser);
        parser.AddOption("n", "interval", "Seconds between two samples. Default: 60", wxCMD_LINE_VAL_NUMBER);
        parser.AddOption("l", "label", "What each sample begins with. Default: load");
        parser.AddParam("COUNT", wxCMD_LINE_VAL_NUMBER, wxCMD_LINE_PARAM_OPTIONAL);
    }

    bool verifyCommandParams(fdn::String const& command, wxCmdLineParser& parser) override {
        long interval = m_intervalSeconds;
        if (parser.Found("interval", &interval) && interval < 1) {
            std::puts("\nError: the interval must be at least 1 second.\n");
            return false;
        }
        return CDaemonEntry::verifyCommandParams(command, parser);
    }

    void handleCommandParams(wxCmdLineParser& parser) override {
        CDaemonEntry::handleCommandParams(parser);
        parser.Found("interval", &m_intervalSeconds);
        wxString label;
        if (parser.Found("label", &label))
            m_label = label;
        if (parser.GetParamCount() > 1)
            parser.GetParam(1).ToULong(&m_count);
    }

    void doCommand(fdn::String const& command) override {
        if (command == "last")
            m_status = printLastSamples();
        else
            CDaemonEntry::doCommand(command);
    }

    fdn::P<dmn::CDaemonInfo> createDaemonInfo() override {
        auto info = fdn::newObj<dmn::CDaemonInfo>();
        info->defaultId = "sampler";
        info->displayName = "Load sampler";
        info->startAtBoot = true;
        info->exePath = fdn::Path(fdn::String::fromBytes(std::filesystem::read_symlink("/proc/self/exe")));
        info->params = {fdn::String::Format("--interval=%ld", m_intervalSeconds), "--label=" + m_label};
        return info;
    }

    fdn::P<dmn::CDaemon> createDaemon(fdn::String const& id, fdn::Path const& controlFolder) override {
        auto const sampler = fdn::newObj<CSampler>(id, controlFolder, m_intervalSeconds, m_label);
        auto const signals = fdn::newObj<CSamplerSignals>(m_signalHandler, sampler);
        fdn::CSystemSignalReceiver& receiver = fdn::CSystemSignalReceiver::get();
        receiver.setHandler(fdn::SysSignal::Terminate, signals.get());
        receiver.setHandler(fdn::SysSignal::Hangup, signals.get());
        return sampler;
    }

private:
    // Returns the exit status: 0 if there are samples, else 1.
    int printLastSamples() {
        fdn::Path const path = m_controller->getControlFolder() << fdn::Path("samples.txt");
        std::ifstream file(fdn::toFileName(path).data());
        std::deque<std::string> lines;
        for (std::string line; std::getline(file, line);) {
            lines.push_back(line);
            if (lines.size() > m_count)
                lines.pop_front();
        }
        for (std::string const& line : lines)
            std::puts(line.c_str());
        return lines.empty() ? 1 : 0;
    }

    long m_intervalSeconds = 60;
    fdn::String m_label{"load"};
    unsigned long m_count = 10;
    int m_status = 0;
};

int main(int argc, char** argv) {
    return fdn::newObj<CSamplerEntry>()->entry(argc, argv);
}
