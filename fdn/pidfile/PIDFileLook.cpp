#include <fdn/pidfile/PIDFileLook.h>

#include <fdn/CError.h>
#include <fdn/pidfile/HeldFiles.h>
#include <fdn/sysError.h>
#include <fdn/system/FuseMounts.h>
#include <fdn/system/askInChildProcess.h>
#include <fdn/system/splitPath.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <optional>
#include <type_traits>

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace fdn {

namespace {

constexpr char kAction[] = "looking at a PID file";
constexpr int kPatienceWithUsers = 1000; // milliseconds
constexpr int kPatienceWithDisks = 30000;

/// What the system says about a file, or which call it has refused and why. Trivially copyable, so that it
/// can come from a child process.
struct RawLook {
    char const* failed = nullptr;
    int error = 0;
    bool isHeldHere = false;
    bool isOnFuse = false;
    struct stat info = {};
    struct stat folder = {};
    struct flock lock = {};
    ssize_t size = 0;
    std::array<char, kMaxPIDFileSize> content = {};
};

static_assert(std::is_trivially_copyable_v<RawLook>);

RawLook& fail(RawLook& look, char const* function, int error) {
    look.failed = function;
    look.error = error;
    return look;
}

// ELOOP stands for a symbolic link, which is not believed, ENXIO and ENODEV for a socket or a device, and
// ENAMETOOLONG for a name that is too long for any file.
bool saysNoFile(int error) {
    return error == ENOENT || error == ENOTDIR || error == ELOOP || error == ENXIO || error == ENODEV ||
           error == ENAMETOOLONG;
}

bool saysNoLocks(int error) {
    return error == EINVAL || error == ENOLCK || error == ENOSYS || error == EOPNOTSUPP;
}

// Stores the write lock that another process keeps, or F_UNLCK as the type when there is none. Read locks say
// nothing, because everybody who may read the file can set one. Returns the system's error number, or 0.
int askForWriteLock(Descriptor const& file, struct flock& answer) {
    answer.l_type = F_RDLCK; // only a write lock stands in its way
    answer.l_whence = SEEK_SET;
    if (fcntl(file.get(), F_GETLK, &answer) == 0)
        return 0;
    int const error = errno;
    answer.l_type = F_UNLCK;
    return saysNoLocks(error) ? 0 : error;
}

// Waits neither for somebody at a FIFO's other end nor for a lease to be given up.
Descriptor openToRead(Descriptor const& folder, char const* name) {
    return Descriptor(openat(folder.get(), name, O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_NOCTTY | O_CLOEXEC));
}

// Needs the guard, except in a child process, which holds no file. There only async-signal-safe calls are
// made.
RawLook lookRaw(Descriptor const& folder, char const* name) {
    RawLook look;
    Descriptor file = openToRead(folder, name);
    if (!file.isOpen())
        return fail(look, "open", errno);
    if (fstat(file.get(), &look.info) == -1)
        return fail(look, "fstat", errno);
    if (isHeldHere(getFileId(look.info))) {
        // It got this name a moment ago. Closing the descriptor would give up the lock.
        look.isHeldHere = true;
        keepOpen(getFileId(look.info), std::move(file));
        return look;
    }
    if (fstat(folder.get(), &look.folder) == -1)
        return fail(look, "fstat", errno);
    look.isOnFuse = isOnFuse(file, look.info.st_dev);
    if (!S_ISREG(look.info.st_mode))
        return look;
    if (int const error = askForWriteLock(file, look.lock); error != 0)
        return fail(look, "fcntl", error);
    look.size = uninterrupted([&] { return read(file.get(), look.content.data(), look.content.size()); });
    return look.size == -1 ? fail(look, "read", errno) : look;
}

RawLook lookHere(Descriptor const& folder, char const* name) {
    HeldFilesGuard const guard;
    std::optional<FileId> const file = getFileId(folder, name);
    // Before it is opened: its descriptor could not be closed again.
    if (!file || !isHeldHere(*file))
        return lookRaw(folder, name);
    RawLook look;
    look.isHeldHere = true;
    return look;
}

// Follows no link like /proc/PID/root: it leads into the mount namespace of an account's process, where the
// account mounts whatever it likes over its names. Linux before 5.6 cannot avoid such links, and some
// sandboxes refuse the call.
Descriptor openFolder(std::string const& folder) {
    open_how how = {};
    how.flags = O_PATH | O_DIRECTORY | O_CLOEXEC;
    how.resolve = RESOLVE_NO_MAGICLINKS;
    long const opened = syscall(SYS_openat2, AT_FDCWD, folder.c_str(), &how, sizeof how);
    if (opened == -1 && (errno == ENOSYS || errno == EPERM))
        return Descriptor(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    return Descriptor(static_cast<int>(opened));
}

RawLook lookHere(FilePlace const& place) {
    Descriptor const folder = openFolder(place.folder);
    RawLook look;
    return folder.isOpen() ? lookHere(folder, place.name.c_str()) : fail(look, "open", errno);
}

auto findMount(std::vector<FuseMount> const& mounts, dev_t device) {
    return std::find_if(mounts.begin(), mounts.end(),
                        [&](FuseMount const& mount) { return mount.device == device; });
}

// The user who decides what the file says: on a file system of a user's own, that user, whatever owner it
// shows.
uid_t getOwner(struct stat const& file, std::vector<FuseMount> const& mounts) {
    auto const found = findMount(mounts, file.st_dev);
    return found == mounts.end() || found->user == 0 ? file.st_uid : found->user;
}

// Whether nobody but root and this user can put files into the folder. Users answer for those to whom they
// open their own folders, because files in there are believed only about the owner's processes.
bool isFolderOf(uid_t user, uid_t owner, mode_t mode) {
    bool const isOpen = (mode & (S_IWGRP | S_IWOTH)) != 0;
    return (user != 0 && owner == user) || (owner == 0 && !isOpen);
}

PIDFileLook interpret(RawLook const& raw, Path const& path, std::vector<FuseMount> const& mounts) {
    PIDFileLook look;
    look.isHeldHere = raw.isHeldHere;
    look.isOutOfReach = raw.error == EWOULDBLOCK;
    if (look.isHeldHere || look.isOutOfReach || saysNoFile(raw.error))
        return look;
    if (raw.failed != nullptr)
        throwSysError(raw.error, {{"func", raw.failed}, {"action", kAction}, {"path", path.getText()}});
    look.isThere = S_ISREG(raw.info.st_mode);
    look.isDeleted = look.isThere && raw.info.st_nlink == 0;
    // -1 stands for a lock of an open file description, which no holder keeps.
    look.isLocked = raw.lock.l_type == F_WRLCK && raw.lock.l_pid != -1;
    look.locker = raw.lock.l_pid;
    if (raw.info.st_size <= static_cast<off_t>(kMaxPIDFileSize))
        look.record = parsePIDRecord(std::string(raw.content.data(), static_cast<std::size_t>(raw.size)));
    look.owner = getOwner(raw.info, mounts);
    uid_t const folderOwner = getOwner(raw.folder, mounts);
    look.isInRootsFolder = isFolderOf(0, folderOwner, raw.folder.st_mode);
    look.mayBeAnothersFile =
        raw.info.st_nlink != 1 && !isFolderOf(look.owner, folderOwner, raw.folder.st_mode);
    return look;
}

RawLook lookWithoutGuard(FilePlace const& place) {
    Descriptor const folder = openFolder(place.folder);
    RawLook look;
    return folder.isOpen() ? lookRaw(folder, place.name.c_str()) : fail(look, "open", errno);
}

RawLook lookInChildProcess(FilePlace const& place, int patience) {
    HeldFilesGuard const guard;
    RawLook look;
    if (!askInChildProcess(patience, look, [&] { return lookWithoutGuard(place); }))
        return fail(look, "open", ETIMEDOUT);
    // The child holds nothing, so it could not tell.
    look.isHeldHere = look.failed == nullptr && isHeldHere(getFileId(look.info));
    return look;
}

bool isListed(RawLook const& raw, std::vector<FuseMount> const& mounts) {
    return !raw.isOnFuse || findMount(mounts, raw.info.st_dev) != mounts.end();
}

// What a user's own file system answers, or fails to answer, is only that user's word, so it must not stop
// root.
PIDFileLook lookAsRoot(FilePlace const& place, Path const& path) {
    std::vector<FuseMount> mounts = findFuseMounts();
    bool const isUsers = isOnUsersMount(place.folder + "/" + place.name, mounts);
    RawLook const raw = hasUsersMount(mounts)
                            ? lookInChildProcess(place, isUsers ? kPatienceWithUsers : kPatienceWithDisks)
                            : lookHere(place);
    if (isUsers && raw.failed != nullptr) {
        PIDFileLook look;
        look.isOutOfReach = true;
        return look;
    }
    if (!isListed(raw, mounts)) // mounted a moment ago, perhaps
        mounts = findFuseMounts();
    if (!isListed(raw, mounts))
        throw CError("The PID file '" + path.getText() +
                     "' is on a file system that a program makes up, and it cannot be told whose that is.");
    return interpret(raw, path, mounts);
}

} // namespace

FilePlace getFilePlace(Path const& path) {
    SplitPath const place = splitPath(path);
    return {toFileName(place.folder).data(), toFileName(place.name).data()};
}

PIDFileLook lookAtPIDFile(Descriptor const& folder, std::string const& name, Path const& path) {
    return interpret(lookHere(folder, name.c_str()), path, {});
}

PIDFileLook lookAtPIDFile(Path const& path) {
    FilePlace const place = getFilePlace(path);
    // Only root can be misled into a signal that the file's owner may not send.
    if (geteuid() != 0)
        return interpret(lookHere(place), path, {});
    return lookAsRoot(place, path);
}

} // namespace fdn
