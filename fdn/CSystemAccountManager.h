#pragma once

#include <fdn/CBase.h>
#include <fdn/CSystemGroupID.h>
#include <fdn/CSystemUserID.h>
#include <fdn/String.h>

namespace fdn {

/// The accounts of this machine, from the system's user and group databases (POSIX getpwnam, getgrnam). There
/// is one per process, reached through get():
///
///     CSystemUserID const user = CSystemAccountManager::get().getUserID("www-data");
///
/// Any thread may use it. Nothing is cached: each look-up asks the database and blocks as long as that does.
/// The object lives until the process ends, after all other objects.
class FDN_EXPORT CSystemAccountManager : public CBase {
public:
    CSystemAccountManager();
    ~CSystemAccountManager() override;

    /// The process's one account manager, constructed by the first call.
    static CSystemAccountManager& get();

    /// The user of this name, with what the database says about it (see CSystemUserID). Throws a CError that
    /// names the user when there is none, and one with the system's error number when the database cannot be
    /// read.
    CSystemUserID getUserID(String const& name) const;

    /// The group of this name; root's group for the empty name, for which nothing is looked up. Throws a
    /// CError that names the group when there is none, and one with the system's error number when the
    /// database cannot be read.
    CSystemGroupID getGroupID(String const& name) const;

    /// Whether the process runs with root's rights: its effective user is 0 (POSIX geteuid).
    bool isProcessUserAdmin() const;
};

} // namespace fdn
