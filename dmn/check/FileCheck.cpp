#include <dmn/check/FileCheck.h>

#include <fdn/CError.h>
#include <fdn/files.h>

#include <dmn/script/ShellWord.h>
#include <dmn/start/TransientFolder.h>
#include <dmn/start/isInRootsHands.h>

#include <sys/stat.h>
#include <sys/statvfs.h>

namespace dmn {

namespace {

bool isMounted(fdn::Path const& path, unsigned long flag) {
    struct statvfs info = {};
    return statvfs(fdn::toFileName(path), &info) == 0 && (info.f_flag & flag) != 0;
}

DaemonFinding reportClosedFolder(StartSettings const& settings, fdn::Path const& folder,
                                 fdn::String const& what) {
    return {describeAccount(settings) + " may not enter the folder '" + folder.getText() +
                "', below which the " + what + " is.",
            "chmod a+x " + quoteShellWord(folder)};
}

// What cannot be looked at is never fine, and whoever looks at it must not get stuck.
template <class Judge>
Findings judgeLook(AccountView const& view, fdn::Path const& path, Judge const& judge) {
    if (fdn::isSilent(path))
        return {{"'" + path.getText() + "' is on a file system that does not answer.", ""}};
    try {
        return judge(view.look(path));
    } catch (fdn::CError const& error) {
        return {{"'" + path.getText() + "' could not be looked at: " + error.getMessage(), ""}};
    }
}

Findings judgeExecutable(StartSettings const& settings, FileLook const& look) {
    fdn::String const executable = "The executable '" + settings.exePath.getText() + "'";
    if (look.barrier == Barrier::Closed)
        return look.isByAccount ? Findings{reportClosedFolder(settings, look.barrierPath, "executable")}
                                : Findings{};
    if (look.isMissing)
        return {{executable + " is missing.", ""}};
    if (look.isFolder)
        return {{executable + " is a folder.", ""}};
    if (!look.isRegularFile)
        return {{executable + " is no regular file.", ""}};
    if (look.mayExecute || !look.isByAccount)
        return {};
    if (isMounted(settings.exePath, ST_NOEXEC))
        return {{executable + " is on a file system from which nothing may be run (noexec).", ""}};
    return {{describeAccount(settings) + " may not run the executable '" + settings.exePath.getText() + "'.",
             "chmod a+x " + quoteShellWord(settings.exePath)}};
}

bool mayOwnerDoAll(fdn::Path const& folder) {
    struct stat info = {};
    return stat(fdn::toFileName(folder), &info) == 0 && (info.st_mode & S_IRWXU) == S_IRWXU;
}

fdn::String composeGift(StartSettings const& settings) {
    fdn::String const account = settings.runAs.empty() ? fdn::String("root") : quoteShellWord(settings.runAs);
    return "chown " + account + " " + quoteShellWord(settings.controlFolder);
}

Findings judgeRoom(StartSettings const& settings) {
    if (!isFull(settings.controlFolder, settings.runAs))
        return {};
    return {{"The file system of the control folder '" + settings.controlFolder.getText() +
                 "' has no room for the PID file.",
             ""}};
}

Findings judgeFolderRights(StartSettings const& settings) {
    fdn::Path const& folder = settings.controlFolder;
    if (isMounted(folder, ST_RDONLY))
        return {{"The control folder '" + folder.getText() + "' is on a read-only file system.", ""}};
    fdn::String const widen =
        mayOwnerDoAll(folder) ? fdn::String() : " && chmod u+rwx " + quoteShellWord(folder);
    return {{describeAccount(settings) + " may not write to the control folder '" + folder.getText() + "'.",
             composeGift(settings) + widen}};
}

fdn::String composeMaking(StartSettings const& settings) {
    fdn::String const gift = settings.runAs.empty() ? fdn::String() : " && " + composeGift(settings);
    return "mkdir -p " + quoteShellWord(settings.controlFolder) + gift;
}

// See provideControlFolder(). Without the account's rights, only the start itself can tell.
bool isMade(StartSettings const& settings, FileLook const& look) {
    return !look.isByAccount || look.mayMake || isInRootsHands(settings.controlFolder);
}

Findings judgeMissingFolder(CheckedDaemon const& daemon, FileLook const& look) {
    StartSettings const& settings = daemon.settings;
    if (isTransientFolder(settings))
        return {};
    if (!daemon.isFolderMade)
        return {{"The control folder '" + settings.controlFolder.getText() + "' is missing.",
                 composeMaking(settings)}};
    if (isMade(settings, look))
        return {};
    return {{describeAccount(settings) + " cannot make the control folder '" +
                 settings.controlFolder.getText() + "', which is not in a folder that only root may change.",
             composeMaking(settings)}};
}

Findings judgeControlFolder(CheckedDaemon const& daemon, FileLook const& look) {
    fdn::String const folder = "The control folder '" + daemon.settings.controlFolder.getText() + "'";
    if (look.barrier == Barrier::Closed)
        return look.isByAccount
                   ? Findings{reportClosedFolder(daemon.settings, look.barrierPath, "control folder")}
                   : Findings{};
    if (look.isDanglingLink)
        return {{folder + " is a link that leads nowhere.", ""}};
    if (look.barrier == Barrier::NoFolder)
        return {{folder + " cannot be made: '" + look.barrierPath.getText() + "' is no folder.", ""}};
    if (look.isMissing)
        return judgeMissingFolder(daemon, look);
    if (!look.isFolder)
        return {{folder + " is no folder.", ""}};
    bool const isClosed = look.isByAccount && !(look.mayWrite && look.mayExecute);
    return isClosed ? judgeFolderRights(daemon.settings) : judgeRoom(daemon.settings);
}

} // namespace

// Some file systems keep the last blocks for root, and some count no blocks or files at all.
bool isFull(fdn::Path const& folder, fdn::String const& account) {
    struct statvfs info = {};
    if (statvfs(fdn::toFileName(folder), &info) != 0)
        return false;
    bool const isForRoot = account.empty();
    bool const hasBlocks = info.f_blocks == 0 || (isForRoot ? info.f_bfree : info.f_bavail) > 0;
    bool const hasFiles = info.f_files == 0 || (isForRoot ? info.f_ffree : info.f_favail) > 0;
    return !hasBlocks || !hasFiles;
}

Findings checkExecutable(StartSettings const& settings, AccountView const& view) {
    if (settings.exePath.getText().empty())
        return {{"There is no executable: its path is empty.", ""}};
    if (!settings.exePath.getText().StartsWith("/"))
        return {{"The executable '" + settings.exePath.getText() + "' has no absolute path.", ""}};
    return judgeLook(view, settings.exePath,
                     [&](FileLook const& look) { return judgeExecutable(settings, look); });
}

Findings checkControlFolder(CheckedDaemon const& daemon, AccountView const& view) {
    return judgeLook(view, daemon.settings.controlFolder,
                     [&](FileLook const& look) { return judgeControlFolder(daemon, look); });
}

} // namespace dmn
