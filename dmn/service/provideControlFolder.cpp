#include <dmn/service/provideControlFolder.h>

#include <dmn/start/TransientFolder.h>

#include <fdn/CSystemAccountManager.h>
#include <fdn/files.h>
#include <fdn/sysError.h>

#include <array>
#include <cerrno>

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

void provideControlFolder(StartSettings const& settings) {
    fdn::Path const& folder = settings.controlFolder;
    if (fdn::folderExists(folder) || isTransientFolder(settings))
        return;
    if (settings.runAs.empty()) {
        fdn::ensureOwnedFolderExists(folder, kMode, 0, 0);
        return;
    }
    fdn::CSystemUserID const user = fdn::CSystemAccountManager::get().getUserID(settings.runAs);
    fdn::ensureOwnedFolderExists(folder, kMode, user.getUID(), findPrimaryGroup(user));
}

} // namespace dmn
