#pragma once

#include <fdn/Path.h>
#include <fdn/pidfile/PIDRecord.h>
#include <fdn/system/Descriptor.h>
#include <fdn/system/FileId.h>

#include <string>

#include <sys/types.h>

namespace fdn {

/// Where a file is: a name in a folder, because the whole path may be longer than the system takes.
struct FilePlace {
    std::string folder;
    std::string name;
};

FilePlace getFilePlace(Path const& path);

/// What can be seen of a PID file at one moment.
struct PIDFileLook {
    bool isThere = false;      ///< a regular file
    bool isHeldHere = false;   ///< by this process, in which case the rest is not looked at
    bool isOutOfReach = false; ///< there is a file, but it does not answer at once
    bool isLocked = false;     ///< by another process, and thereby held
    pid_t locker = 0;          ///< that process, or less than 1 when it cannot be seen from here
    PIDRecord record;
    uid_t owner = 0;              ///< who may have written the record
    bool isInRootsFolder = false; ///< nobody but root can have put the file there
    bool mayBeAnothersFile =
        false; ///< it has another name, and others than root and the owner may give it one
};

/// Looks at the file of this name in an open folder. Waits for nobody, unless the file system does. `path` is
/// for errors.
PIDFileLook lookAtPIDFile(Descriptor const& folder, std::string const& name, Path const& path);

/// Looks at the file at the path. Where root could be kept waiting by a file system of an ordinary user's,
/// for a second at most.
PIDFileLook lookAtPIDFile(Path const& path);

} // namespace fdn
