#include <fdn/CSystemAccountManager.h>

#include <fdn/CError.h>
#include <fdn/accounts/AccountLookUp.h>
#include <fdn/objects/KeptGlobal.h>

#include <optional>
#include <string>
#include <vector>

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

namespace fdn {

namespace {

// The name as the databases have it; empty, which is no account's name, when it cannot be one.
std::string toAccountName(String const& name) {
    if (name.find(L'\0') != String::npos)
        return std::string();
    return name.toCP().data();
}

// The number of the account, or nothing when there is none of that name. `call` describes the look-up in
// errors.
template <class Record>
std::optional<unsigned> findNumber(String const& name, AccountFunction<Record>* function,
                                   unsigned Record::*number, CProps const& call) {
    std::string const accountName = toAccountName(name);
    if (accountName.empty())
        return std::nullopt;
    Record record = {};
    std::vector<char> texts;
    Record const* const found = lookUpAccount(function, accountName.c_str(), record, texts, call);
    return found == nullptr ? std::nullopt : std::optional<unsigned>(found->*number);
}

} // namespace

CSystemAccountManager::CSystemAccountManager() = default;

CSystemAccountManager& CSystemAccountManager::get() {
    return getKeptGlobal<CSystemAccountManager>();
}

CSystemUserID CSystemAccountManager::getUserID(String const& name) const {
    CProps const call{
        {"func", "getpwnam_r"}, {"action", "CSystemAccountManager::getUserID"}, {"account", name}};
    std::optional<unsigned> const uid = findNumber(name, &getpwnam_r, &passwd::pw_uid, call);
    if (!uid)
        throw CError("Unknown user: '" + name + "'.");
    return CSystemUserID(*uid, name);
}

CSystemGroupID CSystemAccountManager::getGroupID(String const& name) const {
    if (name.empty())
        return CSystemGroupID(0, "root");
    CProps const call{
        {"func", "getgrnam_r"}, {"action", "CSystemAccountManager::getGroupID"}, {"account", name}};
    std::optional<unsigned> const gid = findNumber(name, &getgrnam_r, &group::gr_gid, call);
    if (!gid)
        throw CError("Unknown group: '" + name + "'.");
    return CSystemGroupID(*gid, name);
}

bool CSystemAccountManager::isProcessUserAdmin() const {
    return geteuid() == 0;
}

} // namespace fdn
