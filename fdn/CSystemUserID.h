#pragma once

#include <fdn/Export.h>
#include <fdn/String.h>

#include <memory>

namespace fdn {

struct UserRecord;

/// A user account: its number and its name. A plain value, which may be copied and kept.
///
/// One that CSystemAccountManager::getUserID() has returned also keeps what the user database said then. A
/// program that is started under the account uses that instead of asking the database again, even if the
/// account has changed or gone since: look the user up for each start. Only the account's supplementary
/// groups are looked up by the start itself.
class FDN_EXPORT CSystemUserID {
public:
    /// Nothing is looked up here: a start under this account does that, and refuses an account that does not
    /// exist or has another number.
    CSystemUserID(unsigned uid, String const& name) : m_uid(uid), m_name(name) {}

    /// The number by which the system knows the user.
    unsigned getUID() const { return m_uid; }

    /// The name by which the user was looked up.
    String const& getName() const { return m_name; }

private:
    friend class CSystemAccountManager;
    friend UserRecord getUserRecord(CSystemUserID const& user);

    unsigned m_uid;
    String m_name;
    std::shared_ptr<UserRecord const> m_record; // null unless it was looked up
};

} // namespace fdn
