#include <dmn/dmn.h>

#include <fstream>
#include <string>

/// What the configuration file says: lines like "interval=60". What it does not say keeps its default.
struct Settings {
    long intervalSeconds = 60;
    fdn::String text{"hello"};
};

void setFromLine(Settings& settings, fdn::String const& line) {
    fdn::String const name = line.BeforeFirst('=');
    fdn::String const value = line.AfterFirst('=');
    if (name == "text")
        settings.text = value;
    else if (name != "interval" || !value.ToLong(&settings.intervalSeconds))
        throw fdn::CError("'" + line + "' is no setting.");
    if (settings.intervalSeconds < 1 || settings.intervalSeconds > 24L * 60 * 60)
        throw fdn::CError("The interval must be from 1 to 86400 seconds.");
}

Settings readSettings(fdn::Path const& path) {
    std::ifstream file(fdn::toFileName(path).data());
    if (!file)
        throw fdn::CError("The configuration '" + path.getText() + "' cannot be read.");
    Settings settings;
    for (std::string line; std::getline(file, line);)
        setFromLine(settings, fdn::String::fromBytes(line));
    return settings;
}

/// The service: logs a text at regular intervals.
class CGreeter : public dmn::CService {
public:
    CGreeter(fdn::String const& id, fdn::Path const& controlFolder, fdn::Path const& configuration)
        : CService(id, controlFolder), m_configuration(configuration) {}

    void init(dmn::IDaemonOperationProgress* progress) override {
        m_settings = readSettings(m_configuration);
        progress->onOperationStepDone();
    }

    // A file that is wrong throws before anything is changed.
    void reload() override {
        m_settings = readSettings(m_configuration);
        fdn::logInfo(m_settings.text + " from now on.");
    }

    void run() override {
        do {
            fdn::logInfo(m_settings.text);
        } while (sleep(static_cast<int>(m_settings.intervalSeconds) * 1000));
    }

private:
    fdn::Path m_configuration;
    Settings m_settings;
};

/// The front end: adds the option --config, which install stores as a run parameter.
class CGreeterEntry : public dmn::CServiceEntry {
    void addCommandLineOptions(wxCmdLineParser& parser) override {
        CServiceEntry::addCommandLineOptions(parser);
        parser.AddOption("f", "config", "The configuration file. Default: /etc/greeter.conf");
    }

    // The daemon's current folder is another one than that in which install was called.
    void handleCommandParams(wxCmdLineParser& parser) override {
        CServiceEntry::handleCommandParams(parser);
        wxString path;
        if (parser.Found("config", &path))
            m_configuration = fdn::Path(path).toNormalized(true, fdn::Path());
    }

    void doInstall() override {
        readSettings(m_configuration); // A file that is wrong is refused now, not at the next boot.
        CServiceEntry::doInstall();
    }

    fdn::P<dmn::CDaemonInfo> createDaemonInfo() override {
        auto info = fdn::newObj<dmn::CDaemonInfo>();
        info->defaultId = "greeter";
        info->displayName = "Greeter";
        info->version = "1.0";
        info->startAtBoot = true;
        info->params = {"--config=" + m_configuration.getText()};
        return info;
    }

    fdn::P<dmn::CDaemon> createDaemon(fdn::String const& id, fdn::Path const& controlFolder) override {
        return fdn::newObj<CGreeter>(id, controlFolder, m_configuration);
    }

    fdn::Path m_configuration{"/etc/greeter.conf"};
};

int main(int argc, char** argv) {
    return fdn::newObj<CGreeterEntry>()->entry(argc, argv);
}
