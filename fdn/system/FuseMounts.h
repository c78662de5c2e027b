#pragma once

#include <fdn/system/Descriptor.h>

#include <string>
#include <vector>

#include <sys/types.h>

namespace fdn {

/// A file system that a program provides (FUSE), and the user who mounted it. It may say anything about its
/// files, their owners and modes included, and it may never answer at all.
struct FuseMount {
    dev_t device = 0;
    uid_t user = 0;
    std::string folder; ///< or the file, over which it is mounted
};

/// All such mounts in this process's mount namespace; none where there is no /proc. Reads
/// /proc/self/mountinfo and touches no mounted file system, so it never blocks.
std::vector<FuseMount> findFuseMounts();

/// Whether one of them belongs to a user other than root.
bool hasUsersMount(std::vector<FuseMount> const& mounts);

/// Whether the path leads into one that belongs to a user other than root. Judged by the text of an absolute
/// path alone: links are not followed.
bool isOnUsersMount(std::string const& path, std::vector<FuseMount> const& mounts);

/// Whether the open file, whose device is given, is on such a file system: the kernel's word, which holds
/// also for what was mounted a moment ago and is not in any list yet. Async-signal-safe.
bool isOnFuse(Descriptor const& file, dev_t device);

} // namespace fdn
