#pragma once

#include <dmnctl/daemons/daemonTable.h>

#include <dmn/DaemonFinding.h>

#include <fdn/containers.h>

#include <string>
#include <vector>

namespace dmnctl {

/// An array with an object for each daemon:
///
///     id, displayName       texts; the name is empty where none is set
///     state                 "running", "stopped", "dead", or "unknown"
///     reason                why the state is unknown; else null
///     process               the number, or null if none runs
///     account, since        of the process: a text, and its start as RFC 3339, in UTC
///     memoryBytes           of the process (resident set)
///     startsAtBoot          true or false
///     executable, parameters, controlFolder, runAs, transientFolderAppID, transientFolderGroup
///                           the settings; parameters is an array, an empty text is a setting that is not set
///
/// What is not known is null.
std::string composeDaemonsJson(std::vector<ListedDaemon> const& daemons);

/// A daemon and what was found.
struct CheckedDaemon {
    fdn::String id;
    fdn::TList<dmn::DaemonFinding> findings;
};

/// An array with an object for each daemon: id, and findings, an array of objects with problem and remedy,
/// which is null where no command mends it.
std::string composeFindingsJson(std::vector<CheckedDaemon> const& daemons);

} // namespace dmnctl
