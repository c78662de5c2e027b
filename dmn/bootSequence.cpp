#include <dmn/bootSequence.h>

#include <fdn/CError.h>

#include <dmn/id/DaemonId.h>
#include <dmn/init/DefaultRunLevel.h>
#include <dmn/init/DependencyOrder.h>
#include <dmn/init/FileQuestions.h>
#include <dmn/init/RunLevels.h>
#include <dmn/init/SystemdUnits.h>
#include <dmn/script/InitScriptFile.h>
#include <dmn/script/ShellWord.h>

#include <functional>
#include <set>

namespace dmn {

namespace {

bool hasRunLevelFolders() {
    try {
        for (RunLevel const& runLevel : kRunLevels)
            locateRunLevelFolder(runLevel.level);
        return true;
    } catch (fdn::CError const&) {
        return false;
    }
}

bool hasInit() {
    return seemsThere(fdn::Path("/etc/inittab")) || (seemsThere(fdn::Path("/sbin/init")) && !isSystemdInit());
}

// What a machine starts, after one look at its files.
using BootQuestion = std::function<bool(fdn::String const& id)>;

// Those about which it is asked.
using Ids = std::set<fdn::String>;

BootQuestion askLinks(Ids const& ids) {
    return [linked = findStartedIds(readDefaultRunLevel(), ids)](fdn::String const& id) {
        return linked.count(id) > 0;
    };
}

BootQuestion askDependencyOrder(Ids const& ids) {
    return [isLinked = askLinks(ids), ordered = readDependencyOrder()](fdn::String const& id) {
        return isLinked(id) && ordered.count(id) > 0;
    };
}

BootQuestion askSystemd(Ids const& ids) {
    Ids const scripts = doesSystemdReadScripts() ? findStartedIds(0, ids) : Ids();
    return [scripts](fdn::String const& id) {
        return hasOwnUnit(id) ? isOwnUnitEnabled(id) : scripts.count(id) > 0;
    };
}

BootQuestion ask(BootSequence sequence, Ids const& ids) {
    switch (sequence) {
    case BootSequence::LinkOrder:
        return askLinks(ids);
    case BootSequence::DependencyOrder:
        return askDependencyOrder(ids);
    case BootSequence::Systemd:
        return askSystemd(ids);
    case BootSequence::None:
        break;
    }
    return [](fdn::String const&) { return false; };
}

fdn::String composeSystemdCommand(fdn::String const& id) {
    if (hasOwnUnit(id))
        return isOwnUnitEnabled(id) ? fdn::String() : "systemctl enable " + quoteShellWord(id);
    // Boot makes the unit anew. Until then, systemd does not know the daemon.
    return askSystemd({id})(id) && !hasGeneratedUnit(id) ? "systemctl daemon-reload" : "";
}

} // namespace

bool isSystemdRunning() {
    return seemsFolder(fdn::Path("/run/systemd/system"));
}

BootSequence detectBootSequence() {
    if (isSystemdRunning())
        return BootSequence::Systemd;
    if (hasDependencyOrder())
        return BootSequence::DependencyOrder;
    if (hasRunLevelFolders() && hasInit())
        return BootSequence::LinkOrder;
    return isSystemdInit() ? BootSequence::Systemd : BootSequence::None;
}

bool startsAtBoot(fdn::String const& id, BootSequence sequence) {
    return isDaemonId(id) && ask(sequence, {id})(id);
}

fdn::TList<fdn::String> selectStartedAtBoot(fdn::TList<fdn::String> const& ids, BootSequence sequence) {
    BootQuestion const isStarted = ask(sequence, {ids.begin(), ids.end()});
    fdn::TList<fdn::String> started;
    for (fdn::String const& id : ids) {
        if (isDaemonId(id) && isStarted(id))
            started.push_back(id);
    }
    return started;
}

fdn::String composeBootCommand(fdn::String const& id, BootSequence sequence) {
    if (!isDaemonId(id))
        return fdn::String();
    switch (sequence) {
    case BootSequence::DependencyOrder:
        // Nothing puts a script without start links in order.
        return findStartedIds(0, {id}).count(id) > 0 && readDependencyOrder().count(id) == 0
                   ? "update-rc.d " + quoteShellWord(id) + " defaults"
                   : fdn::String();
    case BootSequence::Systemd:
        return composeSystemdCommand(id);
    case BootSequence::LinkOrder:
    case BootSequence::None:
        break;
    }
    return fdn::String();
}

fdn::Path findSystemdUnit(fdn::String const& id) {
    return isDaemonId(id) ? findOwnUnit(id) : fdn::Path();
}

fdn::TArray<fdn::Path> createStartLinks(fdn::String const& id) {
    return completeRunLevelLinks(locateInitScript(id), id, LinkKind::Start);
}

fdn::TArray<fdn::Path> removeStartLinks(fdn::String const& id) {
    requireDaemonId(id);
    return removeRunLevelLinks(id, LinkKind::Start);
}

fdn::TArray<fdn::Path> createKillLinks(fdn::String const& id) {
    return completeRunLevelLinks(locateInitScript(id), id, LinkKind::Kill);
}

} // namespace dmn
