#pragma once

#include <dmn/Export.h>

#include <fdn/Path.h>
#include <fdn/String.h>
#include <fdn/containers.h>

namespace dmn {

/// How this machine decides what starts at boot.
enum class BootSequence {
    LinkOrder,       ///< System V init, in the order of the links in /etc/rcN.d
    DependencyOrder, ///< System V init, in the order that insserv has computed from the scripts' headers
    Systemd,         ///< systemd, which makes units of init scripts (until its release 260)
    None,            ///< no init that reads scripts, as in most containers
};

// Only files are looked at, and nothing is run or changed. Needs no rights. Any thread may call these. What
// cannot be looked at counts as missing.

/// The boot sequence of the machine that this process runs on. Where no init runs, as in a container, it is
/// that of the init that is installed.
DMN_EXPORT BootSequence detectBootSequence();

/// Whether this machine will start the daemon at its next boot, as far as its files tell. System V init
/// starts what is linked in the default run level (inittab(5); without one, in any from 2 to 5). systemd
/// starts a unit of the daemon's own if it is enabled and, where there is none, the script, if it has the
/// generator for that. False for an ID that can name no daemon.
DMN_EXPORT bool startsAtBoot(fdn::String const& id, BootSequence sequence);

/// Those of the daemons for which startsAtBoot() is true, in the same order. Each file is looked at once,
/// however many daemons there are.
DMN_EXPORT fdn::TList<fdn::String> selectStartedAtBoot(fdn::TList<fdn::String> const& ids,
                                                       BootSequence sequence);

/// The command by which an administrator makes this machine know the daemon that was installed to start at
/// boot: update-rc.d for insserv's order, systemctl for systemd. The empty text if nothing is left to do, or
/// nothing can be done: for a daemon without start links, for example.
DMN_EXPORT fdn::String composeBootCommand(fdn::String const& id, BootSequence sequence);

/// Whether systemd runs this machine (sd_booted(3)), and is not just what is installed.
DMN_EXPORT bool isSystemdRunning();

/// The file of the daemon's own systemd unit, in place of which systemd makes none of the init script. It may
/// be a mask, a link to /dev/null. The empty path if there is none.
DMN_EXPORT fdn::Path findSystemdUnit(fdn::String const& id);

// These change the links to the daemon's init script, and need root's rights. Links are known by their names,
// whatever their sequence numbers, which other tools change. They throw CError for an ID that can name no
// daemon, when a run level's folder is missing, and for a link that cannot be made or removed.

/// Makes the links by which System V init starts the daemon, as an installation for boot does, in those run
/// levels that have none, or only one that leads nowhere. Returns the new links; after an error, none of them
/// is left.
DMN_EXPORT fdn::TArray<fdn::Path> createStartLinks(fdn::String const& id);

/// Removes the links by which System V init starts the daemon, and returns them. Those that stop it stay.
DMN_EXPORT fdn::TArray<fdn::Path> removeStartLinks(fdn::String const& id);

/// Makes the links by which System V init stops the daemon, as every installation does, in the same way.
DMN_EXPORT fdn::TArray<fdn::Path> createKillLinks(fdn::String const& id);

} // namespace dmn
