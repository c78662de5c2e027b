#include <dmnctl/daemons/daemonTable.h>

#include <dmnctl/daemons/values.h>
#include <dmnctl/show/Table.h>
#include <dmnctl/show/text.h>

#include <initializer_list>

namespace dmnctl {

namespace {

constexpr char kNothing[] = "-";
constexpr char kUnseen[] = "?";

using Alignment = Table::Alignment;

bool isRunning(DaemonView const& view) {
    return view.status.state == dmn::DaemonState::Running;
}

// Of a process that runs but cannot be seen, nothing is known.
template <class Describe>
std::string describeProcessOf(DaemonView const& view, Describe describe) {
    if (view.process)
        return describe(*view.process);
    bool const isKnown = !isRunning(view) && view.status.state != dmn::DaemonState::Unknown;
    return isKnown ? kNothing : kUnseen;
}

std::string describeNumber(DaemonView const& view) {
    if (isRunning(view))
        return std::to_string(view.status.process);
    return view.status.state == dmn::DaemonState::Unknown ? kUnseen : kNothing;
}

// That under which it runs or, while it does not, that under which it would.
std::string describeAccount(DaemonView const& view) {
    if (!isRunning(view) && view.settings && !view.settings->runAs.empty())
        return toPrintable(view.settings->runAs);
    return describeProcessOf(view,
                             [](fdn::ProcessInfo const& process) { return toPrintable(process.account); });
}

std::string describeStart(DaemonView const& view) {
    return describeProcessOf(view, [](fdn::ProcessInfo const& process) {
        return process.started ? describeTime(*process.started) : kUnseen;
    });
}

std::string describeMemoryOf(DaemonView const& view) {
    return describeProcessOf(
        view, [](fdn::ProcessInfo const& process) { return describeMemory(process.memoryBytes); });
}

std::string describeExecutable(DaemonView const& view) {
    return view.settings ? toPrintable(view.settings->executable) : kUnseen;
}

std::vector<Table::Cell> composeRow(ListedDaemon const& daemon) {
    DaemonView const& view = daemon.view;
    std::vector<Table::Cell> cells;
    cells.push_back({toPrintable(view.id), std::nullopt});
    cells.push_back({getNameOf(view.status.state), getColourOf(view.status.state)});
    for (std::string const& text :
         {describeNumber(view), describeAccount(view), describeStart(view), describeMemoryOf(view),
          std::string(daemon.startsAtBoot ? "yes" : "no"), describeExecutable(view)})
        cells.push_back({text, std::nullopt});
    return cells;
}

} // namespace

std::string composeDaemonTable(std::vector<ListedDaemon> const& daemons, Terminal const& terminal) {
    constexpr int kShortId = 10;
    constexpr int kShortPath = 12;
    Table table({{"ID", Alignment::Left, 0, kShortId},
                 {"STATE", Alignment::Left, 0, 0},
                 {"PROCESS", Alignment::Right, 6, 0},
                 {"ACCOUNT", Alignment::Left, 3, 0},
                 {"SINCE", Alignment::Left, 4, 0},
                 {"MEMORY", Alignment::Right, 2, 0},
                 {"BOOT", Alignment::Left, 5, 0},
                 {"EXECUTABLE", Alignment::Left, 1, kShortPath}});
    for (ListedDaemon const& daemon : daemons)
        table.addRow(composeRow(daemon));
    return table.compose(terminal);
}

std::optional<Colour> getColourOf(dmn::DaemonState state) {
    switch (state) {
    case dmn::DaemonState::Running:
        return Colour::Green;
    case dmn::DaemonState::Dead:
        return Colour::Red;
    case dmn::DaemonState::Unknown:
        return Colour::Yellow;
    case dmn::DaemonState::Stopped:
    case dmn::DaemonState::NotInstalled:
        break;
    }
    return std::nullopt;
}

} // namespace dmnctl
