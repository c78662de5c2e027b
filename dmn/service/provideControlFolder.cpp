#include <dmn/service/provideControlFolder.h>

#include <fdn/CSystemAccountManager.h>
#include <fdn/files.h>
#include <fdn/sysError.h>

#include <array>

#include <pwd.h>
#include <unistd.h>

namespace dmn {

namespace {

constexpr int kMode = 0755;

// An account without a database entry, which its own look-up has just found, would be a change meanwhile.
gid_t findPrimaryGroup(fdn::CSystemUserID const& user) {
    std::array<char, 65536> buffer = {};
    passwd entry = {};
    passwd* found = nullptr;
    int const error = getpwuid_r(user.getUID(), &entry, buffer.data(), buffer.size(), &found);
    if (found == nullptr)
        fdn::throwSysError(error == 0 ? ENOENT : error,
                           {{"func", "getpwuid_r"}, {"account", user.getName()}});
    return found->pw_gid;
}

} // namespace

void provideControlFolder(fdn::Path const& folder, fdn::String const& account) {
    if (fdn::folderExists(folder))
        return;
    if (account.empty()) {
        fdn::ensureOwnedFolderExists(folder, kMode, 0, 0);
        return;
    }
    fdn::CSystemUserID const user = fdn::CSystemAccountManager::get().getUserID(account);
    fdn::ensureOwnedFolderExists(folder, kMode, user.getUID(), findPrimaryGroup(user));
}

} // namespace dmn
