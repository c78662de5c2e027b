#pragma once

#include <fdn/Path.h>
#include <fdn/pidfile/PIDRecord.h>
#include <fdn/system/Descriptor.h>
#include <fdn/system/FileId.h>

#include <string>

#include <sys/types.h>

namespace fdn {

/// Where a file is, as the system's calls take it: a name in a folder, because the whole path may be longer
/// than the system accepts.
struct FilePlace {
    std::string folder;
    std::string name;
};

FilePlace getFilePlace(Path const& path);

/// What can be seen of a PID file at one moment. Everything keeps its default when there is no file.
struct PIDFileLook {
    /// Whether it is a regular file.
    bool isThere = false;

    /// Whether this process holds it. Then nothing else is known.
    bool isHeldHere = false;

    /// Whether there is a file that does not answer at once. Then nothing else is known.
    bool isOutOfReach = false;

    /// Whether another process keeps it locked, and thereby holds it.
    bool isLocked = false;

    /// That process, or less than 1 when it cannot be seen from here.
    pid_t locker = 0;

    PIDRecord record;

    /// The user who decides what the record says.
    uid_t owner = 0;

    /// Whether nobody but root can have put the file there.
    bool isInRootsFolder = false;

    /// Whether it lost its last name while it was looked at, as happens to that of a process that ends.
    bool isDeleted = false;

    /// Whether it has another name, and others than root and the owner may have given it this one.
    bool mayBeAnothersFile = false;
};

/// Looks at the file of this name in an open folder. Blocks only if the file system does. Throws CErrors that
/// name `path` when the system cannot tell.
PIDFileLook lookAtPIDFile(Descriptor const& folder, std::string const& name, Path const& path);

/// Looks at the file at the path. Root waits at most a second for a user's own file system and, while any
/// user has one mounted, half a minute for every other one.
PIDFileLook lookAtPIDFile(Path const& path);

} // namespace fdn
