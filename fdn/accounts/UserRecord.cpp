#include <fdn/accounts/UserRecord.h>

#include <fdn/CError.h>
#include <fdn/accounts/AccountLookUp.h>

#include <pwd.h>

namespace fdn {

namespace {

// An empty field stands for the usual shell (passwd(5)).
std::string shellOf(passwd const& record) {
    return *record.pw_shell == '\0' ? "/bin/sh" : record.pw_shell;
}

} // namespace

UserRecord findUserRecord(String const& name, char const* action) {
    CProps const call{{"func", "getpwnam_r"}, {"action", action}, {"account", name}};
    auto const account = findAccount(&getpwnam_r, name, call);
    if (!account)
        throw CError("Unknown user: '" + name + "'.");
    passwd const& record = account->record;
    return {record.pw_uid, record.pw_gid, record.pw_name, record.pw_dir, shellOf(record)};
}

UserRecord getUserRecord(CSystemUserID const& user) {
    if (user.m_record != nullptr)
        return *user.m_record;
    UserRecord record = findUserRecord(user.getName(), "forkAndExec");
    if (record.user != user.getUID())
        throw CError("The user '" + user.getName() + "' does not have the number " +
                     String(std::to_string(user.getUID()).c_str()) + ".");
    return record;
}

std::optional<String> findUserName(uid_t user, char const* action) {
    CProps const call{{"func", "getpwuid_r"}, {"action", action}, {"account", String(std::to_string(user))}};
    auto const account = findAccount(&getpwuid_r, user, call);
    return account ? std::optional(String::fromBytes(account->record.pw_name)) : std::nullopt;
}

} // namespace fdn
