#include <fdn/UserRecord.h>

#include <fdn/CError.h>
#include <fdn/files.h>
#include <fdn/sysError.h>

#include <cerrno>

#include <grp.h>
#include <pwd.h>

namespace fdn {

namespace {

constexpr std::size_t kFirstTextsSize = 1024;
constexpr int kFirstGroupCount = 32;

// Looks the account up with as much room for its texts as it wants. Throws when that fails; null when there
// is no such account.
passwd* lookUp(CSystemUserID const& user, passwd& record, std::vector<char>& texts) {
    wxCharBuffer const name = toFileName(Path(user.getName()));
    passwd* result = nullptr;
    int error = ERANGE;
    while (error == ERANGE || error == EINTR) {
        texts.resize(texts.empty() ? kFirstTextsSize : texts.size() * 2);
        error = getpwnam_r(name, &record, texts.data(), texts.size(), &result);
    }
    // Where the database is missing altogether, the look-up says ENOENT or ESRCH.
    if (error != 0 && error != ENOENT && error != ESRCH)
        throwSysError(error,
                      {{"func", "getpwnam_r"}, {"action", "readUserRecord"}, {"account", user.getName()}});
    return result;
}

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
    passwd record = {};
    std::vector<char> texts;
    if (lookUp(user, record, texts) == nullptr)
        throw CError("Unknown user: '" + user.getName() + "'.");
    if (record.pw_uid != user.getUID())
        throw CError("The user '" + user.getName() + "' does not have the number " +
                     String(std::to_string(user.getUID()).c_str()) + ".");
    return {record.pw_gid, readGroups(record), record.pw_name, record.pw_dir, shellOf(record)};
}

} // namespace fdn
