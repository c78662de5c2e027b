#pragma once

#include <dmn/Export.h>

#include <fdn/String.h>

namespace dmn {

/// How this machine decides what starts at boot.
enum class BootSequence {
    LinkOrder,       ///< System V init, in the order of the links in /etc/rcN.d
    DependencyOrder, ///< System V init, in the order that insserv has computed from the scripts' headers
    Systemd,         ///< systemd, which makes units of init scripts (until its release 260)
    None,            ///< no init that reads scripts, as in most containers
};

/// Looks at the machine that this process runs on. Touches nothing. Throws nothing.
DMN_EXPORT BootSequence detectBootSequence();

/// Whether this machine will start the daemon at its next boot, as far as its files tell.
DMN_EXPORT bool startsAtBoot(fdn::String const& id, BootSequence sequence);

/// The command by which an administrator has this machine start the installed daemon at boot, or an empty
/// text if nothing is left to do, or nothing can be done.
DMN_EXPORT fdn::String composeBootCommand(fdn::String const& id, BootSequence sequence);

} // namespace dmn
