#pragma once

#include <dmn/DaemonSettings.h>
#include <dmn/Export.h>

#include <fdn/CExecCommand.h>
#include <fdn/String.h>
#include <fdn/containers.h>

namespace dmn {

// An installed daemon is known by its init script: a file that has, byte for byte, the text that this library
// writes for some settings. A script that only looks alike is never run here, nor is one with a double quote,
// "$", "`" or backslash in a setting, because the shell could take that for a command. These operations need
// no rights but those to read, change nothing, and may be called from any thread.

/// The IDs of all installed daemons, in alphabetical order. Files that are not init scripts of this library
/// are left out, as are those that this process has no right to read, links, and scripts of another ID than
/// their name. Throws CError when the folder of init scripts, or a file in it, cannot be read for another
/// reason. Where there is no such folder, the list is empty.
DMN_EXPORT fdn::TList<fdn::String> findInstalledDaemons();

/// Throws a CError that says why there is no installed daemon of this ID: it can name none, has no init
/// script, or has one that cannot be read, that somebody else has written or changed, that belongs to another
/// ID, or in which the shell could take a setting for a command.
DMN_EXPORT void requireInstalledDaemon(fdn::String const& id);

/// The settings of an installed daemon, all from one version of its script. They are read from its text; only
/// where a shell may change a value that it prints, the script is run. Throws CError as
/// requireInstalledDaemon() does, and for what cannot be read. Blocks while the script runs.
DMN_EXPORT DaemonSettings readDaemonSettings(fdn::String const& id);

/// The command that runs the daemon in its own process, as `start` launches it. Throws CBadPathError for a
/// control folder above the root.
DMN_EXPORT fdn::CExecCommand composeDaemonCommand(fdn::String const& id, DaemonSettings const& settings);

} // namespace dmn
