#include <dmn/service/StatusText.h>

#include <dmn/id/DaemonId.h>
#include <dmn/script/InitScriptFile.h>
#include <dmn/script/ParameterLine.h>
#include <dmn/service/Table.h>
#include <dmn/start/InstalledSettings.h>
#include <dmn/start/printable.h>

#include <fdn/CError.h>
#include <fdn/processInfo.h>

#include <wx/datetime.h>

#include <cstdint>
#include <ctime>
#include <optional>

namespace dmn {

namespace {

void addUnlessEmpty(Table& table, char const* name, fdn::String const& text) {
    if (!text.empty())
        table.addRow(name, text);
}

fdn::String describeParameters(fdn::String const& line) {
    fdn::String parameters;
    for (fdn::String const& parameter : splitParameterLine(line))
        parameters << (parameters.empty() ? "" : " ") << parameter;
    return parameters;
}

void addSettings(Table& table, fdn::String const& id) {
    StartSettings const settings = readInstalledSettings(id, fdn::Path());
    table.addRow("Program:", settings.exePath.getText());
    addUnlessEmpty(table, "Parameters:", describeParameters(settings.params));
    addUnlessEmpty(table, "Run as:", settings.runAs);
    addUnlessEmpty(table, "Folder in /run:", settings.transientFolderAppID);
    addUnlessEmpty(table, "Its group:", settings.transientFolderGroup);
}

fdn::String describeTime(fdn::CTime const& time) {
    return wxDateTime(static_cast<time_t>(time.getMicroseconds() / 1000000)).FormatISOCombined(' ');
}

fdn::String describeMemory(std::uint64_t bytes) {
    return fdn::String::Format("%.1f MiB", static_cast<double>(bytes) / (1024 * 1024));
}

void addProcess(Table& table, int process) {
    table.addRow("Process:", fdn::String::Format("%d", process));
    std::optional<fdn::ProcessInfo> const info = fdn::getProcessInfo(process);
    if (!info)
        return;
    addUnlessEmpty(table, "Account:", info->account);
    addUnlessEmpty(table, "Executable:", makePrintable(info->executable.getText()));
    if (info->started)
        table.addRow("Since:", describeTime(*info->started));
    table.addRow("Memory:", describeMemory(info->memoryBytes));
}

void addLog(Table& table, fdn::String const& id) {
    fdn::Path const file = getDaemonLogFile(id);
    table.addRow("Log:", file.getText().empty() ? fdn::String("syslog") : file.getText());
}

// What one step cannot read must not keep the others from being shown.
template <class Step>
void addOrSayWhyNot(Table& table, char const* name, Step step) {
    try {
        step();
    } catch (fdn::CError const& error) {
        table.addRow(name, "cannot be read: " + error.getMessage());
    }
}

} // namespace

fdn::String describeProcess(int process) {
    return fdn::String::Format("(process %d)", process);
}

fdn::String describeStatus(fdn::String const& id, DaemonStatus const& status) {
    switch (status.state) {
    case DaemonState::NotInstalled:
        return id + " is not installed.";
    case DaemonState::Stopped:
        return id + " does not run.";
    case DaemonState::Dead:
        return id + " is dead: it has left its PID file '" +
               getPIDFilePath(status.controlFolder, id).getText() + "' behind.";
    case DaemonState::Running:
        return id + " is running " + describeProcess(status.process) +
               (status.isInstalled ? "." : ", but it is not installed.");
    case DaemonState::Unknown:
        break;
    }
    return "It is unknown whether " + id + " runs: " + status.reason;
}

fdn::String describeDetails(fdn::String const& id, DaemonStatus const& status) {
    Table table;
    if (status.isInstalled)
        addOrSayWhyNot(table, "Script:", [&] { table.addRow("Script:", locateInitScript(id).getText()); });
    addUnlessEmpty(table, "Control folder:", status.controlFolder.getText());
    if (status.isInstalled)
        addOrSayWhyNot(table, "Settings:", [&] { addSettings(table, id); });
    if (status.state == DaemonState::Running)
        addOrSayWhyNot(table, "Process:", [&] { addProcess(table, status.process); });
    if (status.isInstalled)
        addOrSayWhyNot(table, "Log:", [&] { addLog(table, id); });
    return table.compose();
}

} // namespace dmn
