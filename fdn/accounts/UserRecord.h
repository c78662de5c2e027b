#pragma once

#include <fdn/CSystemUserID.h>
#include <fdn/String.h>

#include <optional>
#include <string>

#include <sys/types.h>

namespace fdn {

/// What the user database says about an account (POSIX pwd.h).
struct UserRecord {
    uid_t user = 0;
    gid_t group = 0;
    std::string name; ///< like the other texts, in the bytes of the database
    std::string home;
    std::string shell;
};

/// Looks the account up; blocks as long as the database does. Throws CError when there is none of this name,
/// and when the database cannot be read; `action` is the operation that such an error names.
UserRecord findUserRecord(String const& name, char const* action);

/// The record that the account manager has found for this user. A user that the application has made itself
/// is looked up instead. Throws CError when that one is unknown or has another number.
UserRecord getUserRecord(CSystemUserID const& user);

/// The name of the user with this number; nothing when there is none. Blocks and throws as findUserRecord()
/// does.
std::optional<String> findUserName(uid_t user, char const* action);

} // namespace fdn
