#pragma once

#include <fdn/CBase.h>
#include <fdn/CSystemGroupID.h>
#include <fdn/CSystemUserID.h>
#include <fdn/String.h>

namespace fdn {

/// The accounts of this machine, as the system's user and group databases give them (POSIX getpwnam,
/// getgrnam). One per process, reached through get(). Any thread may use it; a look-up blocks as long as the
/// database does. It lives until the process ends, after all other objects.
class FDN_EXPORT CSystemAccountManager : public CBase {
public:
    CSystemAccountManager();

    /// The process's one account manager.
    static CSystemAccountManager& get();

    /// The user of this name. Throws a CError that names the user when there is none, and when the database
    /// cannot be read.
    CSystemUserID getUserID(String const& name) const;

    /// The group of this name; root's group for the empty name. Throws a CError that names the group when
    /// there is none, and when the database cannot be read.
    CSystemGroupID getGroupID(String const& name) const;

    /// Whether the process runs with root's rights: its effective user is 0.
    bool isProcessUserAdmin() const;
};

} // namespace fdn
