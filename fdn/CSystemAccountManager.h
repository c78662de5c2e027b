#pragma once

#include <fdn/CBase.h>
#include <fdn/String.h>

namespace fdn {

/// A user account: its number and its name. A plain value.
class FDN_EXPORT CSystemUserID {
public:
    /// Nothing is looked up: getUserID() of the account manager does that.
    CSystemUserID(unsigned uid, String const& name) : m_uid(uid), m_name(name) {}

    /// The number by which the system knows the user.
    unsigned getUID() const { return m_uid; }

    /// The name by which the user was looked up.
    String const& getName() const { return m_name; }

private:
    unsigned m_uid;
    String m_name;
};

/// A group: its number and its name. A plain value.
class FDN_EXPORT CSystemGroupID {
public:
    /// Nothing is looked up: getGroupID() of the account manager does that.
    CSystemGroupID(unsigned gid, String const& name) : m_gid(gid), m_name(name) {}

    /// The number by which the system knows the group.
    unsigned getGID() const { return m_gid; }

    /// The name by which the group was looked up.
    String const& getName() const { return m_name; }

private:
    unsigned m_gid;
    String m_name;
};

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
