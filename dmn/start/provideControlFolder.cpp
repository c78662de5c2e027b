#include <dmn/start/provideControlFolder.h>

#include <fdn/CError.h>
#include <fdn/files.h>
#include <fdn/sysError.h>

#include <dmn/script/ShellWord.h>
#include <dmn/script/runShellAs.h>
#include <dmn/start/RunAsAccount.h>
#include <dmn/start/TransientFolder.h>
#include <dmn/start/isInRootsHands.h>

#include <array>

#include <pwd.h>
#include <unistd.h>

namespace dmn {

namespace {

constexpr int kMode = 0755;
constexpr char kRoot[] = "root";
constexpr char kMakeFolder[] = R"(umask 022; mkdir -p -- "$1" 2>/dev/null)";

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

// With the account's rights, because whoever may put a link in the way would otherwise choose where root
// makes a folder, and what root gives to the account.
void makeAs(fdn::P<fdn::CImpersonateInfo> const& account, fdn::Path const& folder) {
    runShellAs(account.get(), kMakeFolder, {folder.getText()});
    if (fdn::folderExistsOrIsSilent(folder))
        return;
    fdn::String const name = account->getUserID().getName();
    fdn::String const word = quoteShellWord(folder.getText());
    throw fdn::CError("The account '" + name + "' cannot make the control folder '" + folder.getText() +
                      "', which is not in a folder that only root may change. Make it by hand: mkdir -p " +
                      word + " && chown " + quoteShellWord(name) + " " + word);
}

} // namespace

void provideControlFolder(StartSettings const& settings) {
    fdn::Path const& folder = settings.controlFolder;
    if (isTransientFolder(settings) || fdn::folderExistsOrIsSilent(folder))
        return;
    fdn::P<fdn::CImpersonateInfo> const impersonation =
        findRunAsAccount(settings.runAs.empty() ? fdn::String(kRoot) : settings.runAs);
    if (!isInRootsHands(folder))
        return makeAs(impersonation, folder);
    fdn::CSystemUserID const& user = impersonation->getUserID();
    fdn::ensureOwnedFolderExists(folder, kMode, user.getUID(), findPrimaryGroup(user));
}

} // namespace dmn
