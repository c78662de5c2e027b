#include <fdn/pidfile/PIDFileLook.h>

#include <fdn/CError.h>
#include <fdn/files.h>
#include <fdn/pidfile/HeldFiles.h>
#include <fdn/sysError.h>
#include <fdn/system/FuseMounts.h>
#include <fdn/system/askInChildProcess.h>

#include <algorithm>
#include <array>
#include <cerrno>
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

/// What the system says of a file, or the call that it has refused. Plain, so that it can come from another
/// process.
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

RawLook& fail(RawLook& look, char const* function) {
    look.failed = function;
    look.error = errno;
    return look;
}

bool saysNoFile(int error) {
    // ELOOP: a symbolic link, which is not believed. ENXIO and ENODEV: a socket or a device. ENAMETOOLONG: a
    // name that no file can have.
    return error == ENOENT || error == ENOTDIR || error == ELOOP || error == ENXIO || error == ENODEV ||
           error == ENAMETOOLONG;
}

bool saysNoLocks(int error) {
    return error == EINVAL || error == ENOLCK || error == ENOSYS || error == EOPNOTSUPP;
}

// The answer is of type F_UNLCK unless another process keeps a write lock. Read locks say nothing: everybody
// can set one who may read the file.
bool askForWriteLock(Descriptor const& file, struct flock& answer) {
    answer.l_type = F_RDLCK;
    answer.l_whence = SEEK_SET;
    if (fcntl(file.get(), F_GETLK, &answer) == 0)
        return true;
    answer.l_type = F_UNLCK;
    return saysNoLocks(errno);
}

bool isNamedHere(Descriptor const& folder, char const* name) {
    struct stat info = {};
    return fstatat(folder.get(), name, &info, AT_SYMLINK_NOFOLLOW) == 0 && isHeldHere(getFileId(info));
}

// Not waiting: a FIFO has nobody at its other end, and a lease is not waited for.
Descriptor openToRead(Descriptor const& folder, char const* name) {
    return Descriptor(openat(folder.get(), name, O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_NOCTTY | O_CLOEXEC));
}

// Only async-signal-safe calls are made where the guard is not needed, in a forked process.
RawLook lookRaw(Descriptor const& folder, char const* name) {
    RawLook look;
    Descriptor file = openToRead(folder, name);
    if (!file.isOpen())
        return fail(look, "open");
    if (fstat(file.get(), &look.info) == -1)
        return fail(look, "fstat");
    if (isHeldHere(getFileId(look.info))) {
        // It took this name a moment ago. Closing the descriptor would give the lock up.
        look.isHeldHere = true;
        keepOpen(getFileId(look.info), std::move(file));
        return look;
    }
    if (fstat(folder.get(), &look.folder) == -1)
        return fail(look, "fstat");
    look.isOnFuse = isOnFuse(file, look.info.st_dev);
    if (!S_ISREG(look.info.st_mode))
        return look;
    if (!askForWriteLock(file, look.lock))
        return fail(look, "fcntl");
    look.size = uninterrupted([&] { return read(file.get(), look.content.data(), look.content.size()); });
    return look.size == -1 ? fail(look, "read") : look;
}

RawLook lookHere(Descriptor const& folder, char const* name) {
    HeldFilesGuard const guard;
    if (!isNamedHere(folder, name))
        return lookRaw(folder, name);
    RawLook look;
    look.isHeldHere = true;
    return look;
}

// Not through a link like /proc/PID/root: it leads into the mount name space of an account's process, where
// the account mounts what it likes over its names. Linux before 5.6 does not know how to avoid such links,
// and some sandboxes refuse it.
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
    return folder.isOpen() ? lookHere(folder, place.name.c_str()) : fail(look, "open");
}

auto find(std::vector<FuseMount> const& mounts, dev_t device) {
    return std::find_if(mounts.begin(), mounts.end(),
                        [&](FuseMount const& mount) { return mount.device == device; });
}

// Whom the file really belongs to.
uid_t getOwner(struct stat const& file, std::vector<FuseMount> const& mounts) {
    auto const found = find(mounts, file.st_dev);
    return found == mounts.end() || found->user == 0 ? file.st_uid : found->user;
}

// Whether nobody but root and this user can put files into the folder. A user answers for whom his own folder
// is open to: all that is in there is believed about his processes alone.
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
    // -1 stands for an open file description's lock, which no holder keeps.
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
    return folder.isOpen() ? lookRaw(folder, place.name.c_str()) : fail(look, "open");
}

RawLook lookFromAfar(FilePlace const& place, int patience) {
    HeldFilesGuard const guard;
    RawLook look;
    if (!askInChildProcess(patience, look, [&] { return lookWithoutGuard(place); })) {
        errno = ETIMEDOUT;
        return fail(look, "open");
    }
    look.isHeldHere = look.failed == nullptr && isHeldHere(getFileId(look.info));
    return look;
}

bool isListed(RawLook const& raw, std::vector<FuseMount> const& mounts) {
    return !raw.isOnFuse || find(mounts, raw.info.st_dev) != mounts.end();
}

// What a user's own file system answers, or does not, is the user's word, and keeps root from nothing.
PIDFileLook lookAsRoot(FilePlace const& place, Path const& path) {
    std::vector<FuseMount> mounts = findFuseMounts();
    bool const isUsers = isOnUsersMount(place.folder + "/" + place.name, mounts);
    RawLook const raw = hasUsersMount(mounts)
                            ? lookFromAfar(place, isUsers ? kPatienceWithUsers : kPatienceWithDisks)
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
    std::string const whole = toFileName(path).data();
    std::size_t const lastSep = whole.rfind('/');
    if (lastSep == std::string::npos)
        return {".", whole};
    return {whole.substr(0, std::max<std::size_t>(lastSep, 1)), whole.substr(lastSep + 1)};
}

PIDFileLook lookAtPIDFile(Descriptor const& folder, std::string const& name, Path const& path) {
    return interpret(lookHere(folder, name.c_str()), path, {});
}

PIDFileLook lookAtPIDFile(Path const& path) {
    FilePlace const place = getFilePlace(path);
    // Others cannot be made to signal whom they may not signal themselves.
    if (geteuid() != 0)
        return interpret(lookHere(place), path, {});
    return lookAsRoot(place, path);
}

} // namespace fdn
