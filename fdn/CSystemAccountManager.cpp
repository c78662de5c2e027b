#include <fdn/CSystemAccountManager.h>

#include <fdn/CError.h>
#include <fdn/TSafeGlobalPointer.h>
#include <fdn/sysError.h>

#include <cerrno>
#include <optional>
#include <string>
#include <vector>

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

namespace fdn {

namespace {

constexpr std::size_t kFirstBufferSize = 1024;

char& accountManagerGuard() {
    static char guard = 0;
    return guard;
}

P<CSystemAccountManager> createAccountManager() {
    return newObj<CSystemAccountManager>();
}

// getpwnam_r or getgrnam_r (POSIX), which differ in the record alone.
template <class Record>
using LookUp = int(char const* name, Record* record, char* texts, std::size_t textsSize, Record** result);

// Looks an account up with as much room for its texts as it wants. Returns the system's error number; the
// result is null when there is no such account.
template <class Record>
int lookUp(LookUp<Record>* look, std::string const& name, Record& record, Record*& result) {
    std::vector<char> texts(kFirstBufferSize);
    while (true) {
        int const error = look(name.c_str(), &record, texts.data(), texts.size(), &result);
        if (error == ERANGE)
            texts.resize(texts.size() * 2);
        else if (error != EINTR)
            return error;
    }
}

// The name as the databases have it; empty, which is no account's name, when it cannot be one.
std::string toAccountName(String const& name) {
    if (name.find(L'\0') != String::npos)
        return std::string();
    return name.toCP().data();
}

// The number of the account, or nothing when there is none of that name. `call` describes the look-up in
// errors.
template <class Record>
std::optional<unsigned> findNumber(String const& name, LookUp<Record>* look, unsigned Record::*number,
                                   CProps const& call) {
    std::string const accountName = toAccountName(name);
    if (accountName.empty())
        return std::nullopt;
    Record record = {};
    Record* result = nullptr;
    int const error = lookUp(look, accountName, record, result);
    // Where a database is missing altogether, its look-up says ENOENT or ESRCH.
    if (error != 0 && error != ENOENT && error != ESRCH)
        throwSysError(error, call);
    return result == nullptr ? std::nullopt : std::optional<unsigned>(result->*number);
}

} // namespace

CSystemAccountManager::CSystemAccountManager() = default;

CSystemAccountManager& CSystemAccountManager::get() {
    static TSafeGlobalPointer<CSystemAccountManager> manager(&accountManagerGuard, &createAccountManager);
    return *manager;
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
