#pragma once

#include <fdn/CSystemAccountManager.h>

#include <string>
#include <vector>

#include <sys/types.h>

namespace fdn {

/// What the user database says about an account besides its number (POSIX passwd): with what groups and
/// what surroundings its programs run.
struct UserRecord {
    gid_t group;
    std::vector<gid_t> groups; // every group of the account, its own among them
    std::string name;
    std::string home;
    std::string shell;
};

/// Reads the account's record. Throws CError when there is no such account, when it has another number than
/// the given one, and when the database cannot be read.
UserRecord readUserRecord(CSystemUserID const& user);

} // namespace fdn
