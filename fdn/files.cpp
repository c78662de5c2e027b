#include <fdn/files.h>

#include <fdn/CError.h>
#include <fdn/CThread.h>
#include <fdn/sysError.h>
#include <fdn/system/FuseMounts.h>
#include <fdn/system/NewFolder.h>
#include <fdn/system/ReplacementFile.h>
#include <fdn/system/askInChildProcess.h>
#include <fdn/system/splitPath.h>

#include <cerrno>
#include <optional>
#include <string>

#include <sys/stat.h>
#include <unistd.h>

namespace fdn {

namespace {

constexpr unsigned kPauseBetweenAttempts = 10; // milliseconds
constexpr int kPatience = 1000;                // likewise
constexpr int kModeOfParents = 0777;           // less the umask

bool saysMissing(int error) {
    return error == ENOENT || error == ENOTDIR;
}

bool passesByItself(int error) {
    return error == EBUSY || error == ETXTBSY || error == EAGAIN || error == EINTR;
}

// The mode of what is at a path, or the system's error number.
struct FileMode {
    mode_t mode = 0;
    int error = 0;
};

FileMode askForMode(char const* name) {
    struct stat info = {};
    return stat(name, &info) == 0 ? FileMode{info.st_mode, 0} : FileMode{0, errno};
}

mode_t requireKnown(FileMode const& known, char const* action, Path const& path) {
    if (known.error != 0 && !saysMissing(known.error))
        throwSysError(known.error, {{"func", "stat"}, {"action", action}, {"path", path.getText()}});
    return known.mode;
}

// The mode of what is at the path, after following links; 0 when nothing is there.
mode_t getFileMode(Path const& path, char const* action) {
    wxCharBuffer const name = toFileName(path);
    return requireKnown(askForMode(name), action, path);
}

bool mayBeSilent() {
    return geteuid() == 0 && hasUsersMount(findFuseMounts());
}

// A file system that a user has mounted may never answer, and a process that waits for it cannot be killed.
// Nothing means that it is silent.
std::optional<FileMode> askWithPatience(char const* name) {
    if (!mayBeSilent())
        return askForMode(name);
    FileMode known;
    bool const hasAnswered = askInChildProcess(kPatience, known, [&] { return askForMode(name); });
    return hasAnswered ? std::optional(known) : std::nullopt;
}

bool folderExistsOrIsSilent(Path const& path, char const* action) {
    std::optional<FileMode> const known = askWithPatience(toFileName(path));
    return !known || S_ISDIR(requireKnown(*known, action, path));
}

Path withoutSepsAtEnd(Path const& path) {
    String const& text = path.getText();
    return Path(text.substr(0, text.find_last_not_of(L'/') + 1));
}

// Makes one folder. Returns the system's error number, or 0.
int makeFolder(Path const& path, int mode) {
    wxCharBuffer const name = toFileName(path);
    return mkdir(name, static_cast<mode_t>(mode)) == 0 ? 0 : errno;
}

} // namespace

bool fileExists(Path const& path) {
    mode_t const mode = getFileMode(path, "fileExists");
    return mode != 0 && !S_ISDIR(mode);
}

bool folderExists(Path const& path) {
    return S_ISDIR(getFileMode(path, "folderExists"));
}

bool folderExistsOrIsSilent(Path const& path) {
    return folderExistsOrIsSilent(path, "folderExistsOrIsSilent");
}

bool isSilent(Path const& path) {
    return mayBeSilent() && !askWithPatience(toFileName(path));
}

void ensureFolderExists(Path const& path, int mode) {
    // Asked first, because on a read-only or foreign file system mkdir may fail with other errors than
    // EEXIST.
    if (folderExistsOrIsSilent(path, "ensureFolderExists"))
        return;
    int error = makeFolder(path, mode);
    if (saysMissing(error)) {
        ensureFolderExists(splitPath(withoutSepsAtEnd(path)).folder, mode);
        error = makeFolder(path, mode);
    }
    if (error == EEXIST)
        error = folderExists(path) ? 0 : ENOTDIR;
    if (error != 0)
        throwSysError(error, {{"func", "mkdir"}, {"action", "ensureFolderExists"}, {"path", path.getText()}});
}

void ensureOwnedFolderExists(Path const& path, int mode, unsigned uid, unsigned gid) {
    if (folderExistsOrIsSilent(path, "ensureOwnedFolderExists"))
        return;
    SplitPath const place = splitPath(withoutSepsAtEnd(path));
    ensureFolderExists(place.folder, kModeOfParents);
    NewFolder folder(place, "ensureOwnedFolderExists");
    folder.giveTo(mode, uid, gid);
    folder.takeName();
}

void deleteFile(Path const& path, bool ignoreMissing, int attempts, bool) {
    wxCharBuffer const name = toFileName(path);
    for (int attempt = 1; unlink(name) != 0; ++attempt) {
        if (ignoreMissing && saysMissing(errno))
            return;
        if (attempt >= attempts || !passesByItself(errno))
            throwLastSysError("unlink", "deleteFile", path);
        CThread::sleep(kPauseBetweenAttempts);
    }
}

void deleteFile(String const& path, bool ignoreMissing, int attempts, bool force) {
    deleteFile(Path(path), ignoreMissing, attempts, force);
}

void createFileSymLink(Path const& target, Path const& link) {
    wxCharBuffer const targetName = toFileName(target);
    wxCharBuffer const linkName = toFileName(link);
    if (symlink(targetName, linkName) != 0)
        throwLastSysError("symlink", "createFileSymLink", link);
}

void writeUTF8TextFile(String const& path, String const& text) {
    writeUTF8TextFile(path, text, 0644);
}

void writeUTF8TextFile(String const& path, String const& text, int mode) {
    std::string const content = text.toUTF8();
    ReplacementFile file(Path(path), mode, "writeUTF8TextFile");
    file.append(content);
    file.takePlace();
}

} // namespace fdn
