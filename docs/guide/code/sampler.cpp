#include "CSampler.h"

#include <cstdio>
#include <deque>
#include <fstream>
#include <string>

constexpr long kLongestInterval = 24L * 60 * 60;

/// Has the log say more at a signal, and less again at the next one.
class CLogLevelSwitch : public fdn::CBase, public virtual fdn::ISystemSignalHandler {
    void handleSystemSignal(fdn::SysSignal) override {
        bool const saysMore = fdn::getLogLevel() == fdn::LogLevel::Debug;
        fdn::setLogLevel(saysMore ? fdn::LogLevel::Info : fdn::LogLevel::Debug);
    }
};

/// The front end: adds the options --interval and --label and the command "last [COUNT]".
class CSamplerEntry : public dmn::CServiceEntry {
public:
    int entry(int argc, char** argv) override {
        int const status = CServiceEntry::entry(argc, argv);
        return status == 0 ? m_status : status;
    }

    void addCommandLineOptions(wxCmdLineParser& parser) override {
        CServiceEntry::addCommandLineOptions(parser);
        parser.AddOption("n", "interval", "Seconds between two samples. Default: 60", wxCMD_LINE_VAL_NUMBER);
        parser.AddOption("l", "label", "What each sample begins with. Default: load");
        parser.AddParam("COUNT", wxCMD_LINE_VAL_NUMBER, wxCMD_LINE_PARAM_OPTIONAL);
    }

    bool verifyCommandParams(fdn::String const& command, wxCmdLineParser& parser) override {
        long interval = m_intervalSeconds;
        if (parser.Found("interval", &interval) && (interval < 1 || interval > kLongestInterval)) {
            std::printf("\nError: the interval must be from 1 to %ld seconds.\n\n", kLongestInterval);
            return false;
        }
        return CServiceEntry::verifyCommandParams(command, parser);
    }

    void handleCommandParams(wxCmdLineParser& parser) override {
        CServiceEntry::handleCommandParams(parser);
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
            CServiceEntry::doCommand(command);
    }

    fdn::TList<dmn::CommandDescription> describeOwnCommands() override {
        return {{"last [COUNT]", "Show the last samples. Default: 10"}};
    }

    fdn::P<dmn::CDaemonInfo> createDaemonInfo() override {
        auto info = fdn::newObj<dmn::CDaemonInfo>();
        info->defaultId = "sampler";
        info->displayName = "Load sampler";
        info->startAtBoot = true;
        info->version = "1.0";
        info->params = {fdn::String::Format("--interval=%ld", m_intervalSeconds), "--label=" + m_label};
        return info;
    }

    fdn::P<dmn::CDaemon> createDaemon(fdn::String const& id, fdn::Path const& controlFolder) override {
        auto const levelSwitch = fdn::newObj<CLogLevelSwitch>();
        fdn::CSystemSignalReceiver::get().setHandler(fdn::SysSignal::User1, levelSwitch.get());
        return fdn::newObj<CSampler>(id, controlFolder, static_cast<int>(m_intervalSeconds), m_label);
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
