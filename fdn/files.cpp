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
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <memory>
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

/// The mode of what is at a path, or the system's error number.
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

// The mode of what is at the path, links followed; 0 when nothing is.
mode_t getFileMode(Path const& path, char const* action) {
    wxCharBuffer const name = toFileName(path);
    return requireKnown(askForMode(name), action, path);
}

// Whether there is a folder. A file system that a user has mounted may keep whoever asks waiting for ever:
// one that does not answer root is one that is there.
bool folderExistsOrIsSilent(Path const& path, char const* action) {
    wxCharBuffer const name = toFileName(path);
    FileMode known;
    if (geteuid() != 0 || !hasUsersMount(findFuseMounts()))
        known = askForMode(name);
    else if (!askInChildProcess(kPatience, known, [&] { return askForMode(name); }))
        return true;
    return S_ISDIR(requireKnown(known, action, path));
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

// Whether the text names the same file as these bytes. wxWidgets reads surrogates and numbers beyond Unicode
// too, of which no name can be made again, and gives the empty text for what it cannot read.
bool standsFor(String const& text, char const* name) {
    try {
        return std::strcmp(toFileName(Path(text)), name) == 0;
    } catch (CUnencodableStringError const&) {
        return false;
    }
}

} // namespace

wxCharBuffer toFileName(Path const& path) {
    if (path.getText().find(L'\0') != String::npos)
        throw CUnencodableStringError();
    return path.getText().toEncoding(*wxConvFileName, nullptr);
}

std::optional<String> fromFileName(char const* name) {
    // Where the locale is not UTF-8, the first one reads that all the same, but writes the locale's.
    for (wxMBConv const* const encoding :
         std::initializer_list<wxMBConv const*>{wxConvFileName, &wxConvLocal}) {
        String const text = wxString(name, *encoding);
        if (standsFor(text, name))
            return text;
    }
    return std::nullopt;
}

String getCurrentWorkDirectoryAsString() {
    std::unique_ptr<char, decltype(&std::free)> const folder(getcwd(nullptr, 0), &std::free);
    if (folder == nullptr)
        throwLastSysError("getcwd", "getCurrentWorkDirectoryAsString");
    std::optional<String> const text = fromFileName(folder.get());
    if (!text)
        throwSysError(EILSEQ, {{"func", "getcwd"},
                               {"action", "getCurrentWorkDirectoryAsString"},
                               {"path", String::fromBytes(folder.get())}});
    return *text;
}

bool fileExists(Path const& path) {
    mode_t const mode = getFileMode(path, "fileExists");
    return mode != 0 && !S_ISDIR(mode);
}

bool folderExists(Path const& path) {
    return S_ISDIR(getFileMode(path, "folderExists"));
}

void ensureFolderExists(Path const& path, int mode) {
    // Asked first, because on a read-only or foreign file system mkdir may fail otherwise than with EEXIST.
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
