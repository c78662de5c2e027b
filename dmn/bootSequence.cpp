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

#include <algorithm>
#include <iterator>

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

// A link that leads nowhere starts nothing.
bool hasStartLinkIn(RunLevel const& runLevel, fdn::String const& id) {
    try {
        fdn::TArray<fdn::Path> const links = findRunLevelLinks(runLevel, id);
        return std::any_of(links.begin(), links.end(), seemsThere);
    } catch (fdn::CError const&) {
        return false;
    }
}

// Whether init starts the daemon in this level, or, for 0, in any.
bool hasStartLink(fdn::String const& id, int level) {
    return std::any_of(std::begin(kRunLevels), std::end(kRunLevels), [&](RunLevel const& runLevel) {
        return runLevel.kind == LinkKind::Start && (level == 0 || runLevel.level == level) &&
               hasStartLinkIn(runLevel, id);
    });
}

bool doesSystemdStart(fdn::String const& id) {
    return hasOwnUnit(id) ? isOwnUnitEnabled(id) : doesSystemdReadScripts() && hasStartLink(id, 0);
}

fdn::String composeSystemdCommand(fdn::String const& id) {
    if (hasOwnUnit(id))
        return isOwnUnitEnabled(id) ? fdn::String() : "systemctl enable " + quoteShellWord(id);
    // Boot makes the unit anew. Until then, systemd does not know the daemon.
    return doesSystemdStart(id) && !hasGeneratedUnit(id) ? "systemctl daemon-reload" : "";
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
    if (!isDaemonId(id))
        return false;
    switch (sequence) {
    case BootSequence::LinkOrder:
        return hasStartLink(id, readDefaultRunLevel());
    case BootSequence::DependencyOrder:
        return hasStartLink(id, readDefaultRunLevel()) && isInDependencyOrder(id);
    case BootSequence::Systemd:
        return doesSystemdStart(id);
    case BootSequence::None:
        break;
    }
    return false;
}

fdn::String composeBootCommand(fdn::String const& id, BootSequence sequence) {
    if (!isDaemonId(id))
        return fdn::String();
    switch (sequence) {
    case BootSequence::DependencyOrder:
        // Nothing puts a script without start links in order.
        return hasStartLink(id, 0) && !isInDependencyOrder(id)
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
