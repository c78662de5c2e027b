#include <fdn/CSystemAccountManager.h>

#include <fdn/CError.h>
#include <fdn/accounts/AccountLookUp.h>
#include <fdn/accounts/UserRecord.h>
#include <fdn/objects/KeptGlobal.h>

#include <memory>

#include <grp.h>
#include <unistd.h>

namespace fdn {

CSystemAccountManager::CSystemAccountManager() = default;

CSystemAccountManager::~CSystemAccountManager() = default;

CSystemAccountManager& CSystemAccountManager::get() {
    return getKeptGlobal<CSystemAccountManager>();
}

CSystemUserID CSystemAccountManager::getUserID(String const& name) const {
    auto const record =
        std::make_shared<UserRecord const>(findUserRecord(name, "CSystemAccountManager::getUserID"));
    CSystemUserID user(record->user, name);
    user.m_record = record;
    return user;
}

CSystemGroupID CSystemAccountManager::getGroupID(String const& name) const {
    if (name.empty())
        return CSystemGroupID(0, "root");
    CProps const call{
        {"func", "getgrnam_r"}, {"action", "CSystemAccountManager::getGroupID"}, {"account", name}};
    auto const account = findAccount(&getgrnam_r, name, call);
    if (!account)
        throw CError("Unknown group: '" + name + "'.");
    return CSystemGroupID(account->record.gr_gid, name);
}

bool CSystemAccountManager::isProcessUserAdmin() const {
    return geteuid() == 0;
}

} // namespace fdn
