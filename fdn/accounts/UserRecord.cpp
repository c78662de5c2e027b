#include <fdn/accounts/UserRecord.h>

#include <fdn/CError.h>
#include <fdn/accounts/AccountLookUp.h>
#include <fdn/files.h>

#include <grp.h>
#include <pwd.h>

namespace fdn {

namespace {

constexpr int kFirstGroupCount = 32;

std::vector<gid_t> readGroups(passwd const& record) {
    int count = kFirstGroupCount;
    std::vector<gid_t> groups(kFirstGroupCount);
    while (getgrouplist(record.pw_name, record.pw_gid, groups.data(), &count) == -1) {
        groups.resize(groups.size() * 2);
        count = static_cast<int>(groups.size());
    }
    groups.resize(static_cast<std::size_t>(count));
    return groups;
}

std::string shellOf(passwd const& record) {
    // An empty field stands for the usual shell (passwd(5)).
    return *record.pw_shell == '\0' ? "/bin/sh" : record.pw_shell;
}

} // namespace

UserRecord readUserRecord(CSystemUserID const& user) {
    wxCharBuffer const name = toFileName(Path(user.getName()));
    passwd record = {};
    std::vector<char> texts;
    CProps const call{{"func", "getpwnam_r"}, {"action", "readUserRecord"}, {"account", user.getName()}};
    if (lookUpAccount(&getpwnam_r, name, record, texts, call) == nullptr)
        throw CError("Unknown user: '" + user.getName() + "'.");
    if (record.pw_uid != user.getUID())
        throw CError("The user '" + user.getName() + "' does not have the number " +
                     String(std::to_string(user.getUID()).c_str()) + ".");
    return {record.pw_gid, readGroups(record), record.pw_name, record.pw_dir, shellOf(record)};
}

} // namespace fdn
