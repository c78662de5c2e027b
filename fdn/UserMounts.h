#pragma once

#include <vector>

#include <sys/types.h>

namespace fdn {

/// A file system whose answers an ordinary user's program makes up (FUSE), mounted by that user: it may say
/// anything about its files, and it may never answer at all.
struct UserMount {
    dev_t device = 0;
    uid_t user = 0;
};

/// Those in this process's mount name space; none where there is no /proc. Reads /proc/self/mountinfo, and
/// touches no mounted file system.
std::vector<UserMount> findUserMounts();

} // namespace fdn
