#pragma once

#include <fdn/system/Descriptor.h>

#include <string>
#include <vector>

#include <sys/types.h>

namespace fdn {

/// A file system whose answers a program makes up (FUSE), and the user who has mounted it: it may say
/// anything about its files, and it may never answer at all.
struct FuseMount {
    dev_t device = 0;
    uid_t user = 0;
    std::string folder; ///< or file, over which it is mounted
};

/// Those in this process's mount name space; none where there is no /proc. Reads /proc/self/mountinfo, and
/// touches no mounted file system.
std::vector<FuseMount> findFuseMounts();

/// Whether one of them is an ordinary user's.
bool hasUsersMount(std::vector<FuseMount> const& mounts);

/// Whether the path leads into one that is an ordinary user's, as far as its names tell.
bool isOnUsersMount(std::string const& path, std::vector<FuseMount> const& mounts);

/// Whether the open file, whose device is given, is on such a file system, which may have been mounted a
/// moment ago.
bool isOnFuse(Descriptor const& file, dev_t device);

} // namespace fdn
