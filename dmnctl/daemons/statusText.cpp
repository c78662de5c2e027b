#include <dmnctl/daemons/statusText.h>

#include <dmnctl/daemons/values.h>
#include <dmnctl/show/text.h>

#include <dmn/CDaemonController.h>
#include <dmn/bootSequence.h>

#include <fdn/CError.h>

#include <fmt/core.h>

namespace dmnctl {

namespace {

/// Lines of a name and a text.
class Details {
public:
    void add(char const* name, std::string const& text) {
        m_lines += fmt::format("  {:<16}{}\n", name, text);
    }

    template <class Text>
    void addUnlessEmpty(char const* name, Text const& text) {
        std::string const line = toPrintable(text);
        if (!line.empty())
            add(name, line);
    }

    std::string const& getLines() const { return m_lines; }

private:
    std::string m_lines;
};

std::string describeParameters(dmn::DaemonSettings const& settings) {
    std::string line;
    for (fdn::String const& param : settings.params)
        line += (line.empty() ? "" : " ") + toPrintable(param);
    return line;
}

void addSettings(Details& details, dmn::DaemonSettings const& settings) {
    details.addUnlessEmpty("Name:", settings.displayName);
    details.addUnlessEmpty("Control folder:", settings.controlFolder);
    details.addUnlessEmpty("Program:", settings.executable);
    details.addUnlessEmpty("Parameters:", describeParameters(settings));
    details.addUnlessEmpty("Run as:", settings.runAs);
    details.addUnlessEmpty("Folder in /run:", settings.transientFolderAppID);
    details.addUnlessEmpty("Its group:", settings.transientFolderGroup);
}

void addProcess(Details& details, DaemonView const& view) {
    details.add("Process:", std::to_string(view.status.process));
    if (!view.process)
        return;
    details.addUnlessEmpty("Account:", view.process->account);
    details.addUnlessEmpty("Executable:", view.process->executable);
    if (view.process->started)
        details.add("Since:", describeTime(*view.process->started));
    details.add("Memory:", describeMemory(view.process->memoryBytes));
}

std::string describeLog(fdn::String const& id) {
    try {
        fdn::Path const file = dmn::getDaemonLogFile(id);
        return file.getText().empty() ? "syslog" : toPrintable(file);
    } catch (fdn::CError const& error) {
        return "cannot be told: " + toPrintable(error.getMessage());
    }
}

} // namespace

std::string describeProcess(int process) {
    return fmt::format("(process {})", process);
}

std::string describeStatus(DaemonView const& view) {
    std::string const id = toPrintable(view.id);
    switch (view.status.state) {
    case dmn::DaemonState::NotInstalled:
        return id + " is not installed.";
    case dmn::DaemonState::Stopped:
        return id + " does not run.";
    case dmn::DaemonState::Dead:
        return id + " is dead: it has left its PID file '" + toPrintable(composePIDFilePath(view)) +
               "' behind.";
    case dmn::DaemonState::Running:
        return id + " is running " + describeProcess(view.status.process) + ".";
    case dmn::DaemonState::Unknown:
        break;
    }
    return "It is unknown whether " + id + " runs: " + toPrintable(view.status.reason);
}

std::string describeDetails(DaemonView const& view) {
    Details details;
    details.add("Script:", toPrintable(dmn::CDaemonController::getInitScriptPath(view.id)));
    if (view.settings)
        addSettings(details, *view.settings);
    if (view.status.state == dmn::DaemonState::Running)
        addProcess(details, view);
    details.add("At boot:", dmn::startsAtBoot(view.id, dmn::detectBootSequence()) ? "yes" : "no");
    if (view.settings)
        details.add("Log:", describeLog(view.id));
    return details.getLines();
}

} // namespace dmnctl
