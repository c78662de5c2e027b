#include <dmnctl/daemons/operations.h>

#include <dmnctl/commandline/exitStatus.h>
#include <dmnctl/daemons/daemonJson.h>
#include <dmnctl/daemons/daemonTable.h>
#include <dmnctl/daemons/statusText.h>
#include <dmnctl/selection/selection.h>
#include <dmnctl/show/text.h>

#include <dmn/bootSequence.h>
#include <dmn/daemonChecks.h>
#include <dmn/installedDaemons.h>

#include <fdn/CError.h>

#include <algorithm>
#include <cctype>
#include <set>

#include <unistd.h>

namespace dmnctl {

namespace {

constexpr int kFound = 1;

using ListedDaemons = std::vector<ListedDaemon>;

ListedDaemons lookAt(fdn::TList<fdn::String> const& ids) {
    fdn::TList<fdn::String> const started = dmn::selectStartedAtBoot(ids, dmn::detectBootSequence());
    std::set<fdn::String> const startedAtBoot(started.begin(), started.end());
    ListedDaemons daemons;
    for (fdn::String const& id : ids) {
        DaemonView const view = lookAtDaemon(id);
        if (view.status.isInstalled) // still
            daemons.push_back({view, startedAtBoot.count(id) > 0});
    }
    return daemons;
}

std::string composeNames(fdn::TList<fdn::String> const& ids) {
    std::string lines;
    for (fdn::String const& id : ids)
        lines += toPrintable(id) + "\n";
    return lines;
}

// What keeps a user from one daemon often keeps him from all.
void explainUnknown(ListedDaemons const& daemons) {
    constexpr int kMost = 5;
    int count = 0;
    for (ListedDaemon const& daemon : daemons) {
        if (daemon.view.status.state == dmn::DaemonState::Unknown && ++count <= kMost)
            printError(describeStatus(daemon.view));
    }
    if (count > kMost)
        printError("Why " + std::to_string(count - kMost) + " more are unknown: dmnctl status");
}

void showTable(ListedDaemons const& daemons) {
    print(daemons.empty() ? composeNoDaemons() + "\n" : composeDaemonTable(daemons, Terminal()));
    explainUnknown(daemons);
}

// From best to worst.
int rank(dmn::DaemonState state) {
    switch (state) {
    case dmn::DaemonState::Running:
        return 0;
    case dmn::DaemonState::Stopped:
        return 1;
    case dmn::DaemonState::Dead:
        return 2;
    case dmn::DaemonState::NotInstalled:
    case dmn::DaemonState::Unknown:
        break;
    }
    return 3;
}

int getWorstStatus(ListedDaemons const& daemons) {
    dmn::DaemonState worst = dmn::DaemonState::Running;
    for (ListedDaemon const& daemon : daemons) {
        if (rank(daemon.view.status.state) > rank(worst))
            worst = daemon.view.status.state;
    }
    return dmn::getExitStatusOf(worst);
}

std::string paintStatus(DaemonView const& view, Terminal const& terminal) {
    std::string const text = describeStatus(view);
    std::optional<Colour> const colour = getColourOf(view.status.state);
    return colour ? terminal.paint(text, *colour) : text;
}

void showStatusLines(ListedDaemons const& daemons, bool isVerbose) {
    Terminal const terminal;
    for (ListedDaemon const& daemon : daemons)
        print(paintStatus(daemon.view, terminal) + "\n" +
              (isVerbose ? describeDetails(daemon.view) : std::string()));
}

int answerStatus(StatusCommand const& command) {
    Selection const selection = selectDaemons(command.daemons);
    ListedDaemons const daemons = lookAt(selection.ids);
    if (command.format == Format::Json)
        print(composeDaemonsJson(daemons));
    else if (daemons.empty() && selection.isComplete)
        print(composeNoDaemons() + "\n");
    else
        showStatusLines(daemons, command.isVerbose);
    return selection.isComplete ? getWorstStatus(daemons) : dmn::getExitStatusOf(dmn::DaemonState::Unknown);
}

std::string describeFindings(CheckedDaemon const& daemon) {
    std::string const name = toPrintable(daemon.id) + ": ";
    if (daemon.findings.empty())
        return name + (geteuid() == 0 ? "nothing found.\n" : "nothing found. Root can look at more.\n");
    std::string lines;
    for (dmn::DaemonFinding const& finding : daemon.findings) {
        lines += name + toPrintable(finding.problem) + "\n";
        if (!finding.remedy.empty())
            lines += "  Remedy: " + toPrintable(finding.remedy) + "\n";
    }
    return lines;
}

// Whether the ID can be pasted into a shell as it is.
bool isPlain(fdn::String const& id) {
    return std::all_of(id.begin(), id.end(), [](wxUniChar const c) {
        return c.IsAscii() && (std::isalnum(static_cast<char>(c)) != 0 || c == '-' || c == '_' || c == '.');
    });
}

// The library names the commands of each init. One of this tool's does whatever this machine needs.
void proposeOwnCommand(CheckedDaemon& daemon) {
    if (!isPlain(daemon.id) || dmn::detectBootSequence() == dmn::BootSequence::None)
        return;
    for (dmn::DaemonFinding& finding : daemon.findings) {
        if (finding.isAboutBoot)
            finding.remedy = "dmnctl boot " + daemon.id + " on";
    }
}

bool hasFindings(CheckedDaemon const& daemon) {
    return !daemon.findings.empty();
}

} // namespace

int list(ListCommand const& command) {
    fdn::TList<fdn::String> const ids = dmn::findInstalledDaemons();
    if (command.format == Format::Names)
        print(composeNames(ids));
    else if (command.format == Format::Json)
        print(composeDaemonsJson(lookAt(ids)));
    else
        showTable(lookAt(ids));
    return kDone;
}

// By a failure's usual status, the command would say something about the daemon.
int showStatus(StatusCommand const& command) {
    try {
        return answerStatus(command);
    } catch (fdn::CError const& error) {
        printError(toUTF8(error.getMessage()));
        return dmn::getExitStatusOf(dmn::DaemonState::Unknown);
    }
}

int check(CheckCommand const& command) {
    std::vector<CheckedDaemon> daemons;
    bool const isDone = performForEach(command.daemons, [&](fdn::String const& id) {
        daemons.push_back({id, dmn::checkDaemon(id, fdn::Path())});
        proposeOwnCommand(daemons.back());
        if (command.format == Format::ForPeople)
            print(describeFindings(daemons.back()));
    });
    if (command.format == Format::Json)
        print(composeFindingsJson(daemons));
    else if (daemons.empty() && isDone)
        print(composeNoDaemons() + "\n");
    if (!isDone)
        return kFailed;
    return std::any_of(daemons.begin(), daemons.end(), hasFindings) ? kFound : kDone;
}

} // namespace dmnctl
