#include <dmn/service/ServiceUsage.h>

#include <dmn/service/Table.h>

#include <wx/tokenzr.h>

#include <algorithm>
#include <iterator>

namespace dmn {

namespace {

struct StandardCommand {
    char const* name;
    char const* description;
};

constexpr StandardCommand kCommands[] = {
    {"run", "run the daemon in the foreground, until Ctrl+C"},
    {"daemon", "run the daemon as a service; start does it"},
    {"install", "install the daemon, or change its settings"},
    {"uninstall", "stop the daemon and uninstall it"},
    {"start", "start the daemon and wait until it is ready"},
    {"stop", "stop the daemon and wait for its end"},
    {"restart", "stop the daemon, then start it"},
    {"status", "show whether the daemon runs"},
    {"check", "show why the daemon would not come up"},
    {"help", "show this text"},
};

} // namespace

bool isServiceCommand(fdn::String const& name) {
    return std::any_of(std::begin(kCommands), std::end(kCommands),
                       [&](StandardCommand const& command) { return name == command.name; });
}

fdn::String composeCommandList(CommandDescriptions const& ownCommands) {
    Table table;
    for (StandardCommand const& command : kCommands)
        table.addRow(command.name, command.description);
    for (CommandDescription const& command : ownCommands)
        table.addRow(command.name, command.description);
    return table.compose();
}

// The parser tells its options only in its usage, below the synopsis: name, tab, description. A line without
// a tab continues the description above it.
fdn::String composeOptionList(wxCmdLineParser const& parser) {
    Table table;
    wxStringTokenizer lines(parser.GetUsageString(), "\n");
    while (lines.HasMoreTokens()) {
        wxString description;
        wxString const name = lines.GetNextToken().BeforeFirst('\t', &description);
        if (name.StartsWith("  -"))
            table.addRow(wxString(name).Trim().Trim(false), description);
        else if (!table.isEmpty())
            table.addLine(wxString(name).Trim(false));
    }
    table.addRow("-h, --help", "show this text");
    table.addRow("--version", "show the versions of the program and its library");
    return table.compose();
}

} // namespace dmn
