#pragma once

#include <fdn/Path.h>
#include <fdn/String.h>
#include <fdn/containers.h>

#include <set>

namespace dmn {

// The links by which System V init starts and stops a daemon: one in the folder of each run level, to the
// init script.

enum class LinkKind { Kill, Start };

struct RunLevel {
    int level;
    LinkKind kind;
};

/// The run levels that have links, in the order in which they are visited. Halt and reboot stop the daemon.
/// Level 1, single user, is left to the administrator.
inline constexpr RunLevel kRunLevels[] = {
    {0, LinkKind::Kill},  {2, LinkKind::Start}, {3, LinkKind::Start},
    {4, LinkKind::Start}, {5, LinkKind::Start}, {6, LinkKind::Kill},
};

/// The folder of a run level's links. Throws a CError that names it when it is missing.
fdn::Path locateRunLevelFolder(int level);

/// The name of the daemon's link in a run level.
fdn::String composeRunLevelLinkName(int level, fdn::String const& id);

/// The daemon's links of this kind in the folder of the run level, whatever their sequence numbers. Throws a
/// CError when the folder is missing or cannot be read.
fdn::TArray<fdn::Path> findRunLevelLinks(RunLevel const& runLevel, fdn::String const& id);

/// Those of the wanted IDs whose scripts System V init starts in this run level or, for 0, in any. Links that
/// lead nowhere start nothing, and a folder that cannot be read has none. Throws nothing.
std::set<fdn::String> findStartedIds(int level, std::set<fdn::String> const& wanted);

/// Links the script into the run levels that stop the daemon and, with `startAtBoot`, into those that start
/// it, in place of whatever has the names of the links. Ends at the first error; links made by then stay.
void createRunLevelLinks(fdn::Path const& script, fdn::String const& id, bool startAtBoot);

/// Links the script into those run levels of this kind that have no link of the daemon, or only one that
/// leads nowhere, and returns the new links. After an error, none of them is left.
fdn::TArray<fdn::Path> completeRunLevelLinks(fdn::Path const& script, fdn::String const& id, LinkKind kind);

/// Removes the daemon's links of this kind, whatever their sequence numbers, and returns them. Ends at the
/// first error; links that were not reached stay.
fdn::TArray<fdn::Path> removeRunLevelLinks(fdn::String const& id, LinkKind kind);

/// Removes the daemon's links from every run level, whatever their sequence numbers. Ends at the first error;
/// links that were not reached stay.
void removeRunLevelLinks(fdn::String const& id);

} // namespace dmn
