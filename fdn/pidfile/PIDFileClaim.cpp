#include <fdn/pidfile/PIDFileClaim.h>

#include <fdn/CError.h>
#include <fdn/CThread.h>
#include <fdn/log.h>
#include <fdn/pidfile/HeldFiles.h>
#include <fdn/pidfile/PIDFileVerdict.h>
#include <fdn/sysError.h>
#include <fdn/system/writeQuietly.h>

#include <cerrno>
#include <exception>
#include <optional>
#include <string>
#include <utility>

#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

namespace fdn {

namespace {

constexpr char kClaiming[] = "CPIDFile constructor";
constexpr char kGivingUp[] = "CPIDFile destructor";
constexpr mode_t kModeWhileUnfinished = 0600;
constexpr mode_t kMode = 0644;
constexpr std::chrono::seconds kPatience(5);
constexpr std::chrono::seconds kPatienceWithStrangers(1);
constexpr unsigned kPauseBetweenAttempts = 5; // milliseconds

// The same for every PID file in a folder: making it keeps all others out, and what a crash leaves behind is
// never more than one file.
constexpr char kUnfinishedName[] = ".pid-file.new";

enum class LockAttempt { Locked, Busy, Impossible };

// Locks the whole file, for as long as this process lives or until it closes any descriptor of the file.
LockAttempt tryLock(Descriptor const& file) {
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    if (fcntl(file.get(), F_SETLK, &lock) == 0)
        return LockAttempt::Locked;
    return errno == EACCES || errno == EAGAIN ? LockAttempt::Busy : LockAttempt::Impossible;
}

// Whether the file is known and has this name.
bool isNamed(Descriptor const& folder, char const* name, std::optional<FileId> const& file) {
    return file && getFileId(folder, name) == file;
}

// Names in a folder can be used without the permission to read it, which O_PATH does not ask for.
Descriptor openOnlyForNames(std::string const& folder) {
    return Descriptor(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

[[noreturn]] void failHeld(Path const& path, pid_t holder) {
    throw CError("The PID file '" + path.getText() + "' is held by process " +
                 String::fromBytes(std::to_string(holder)) + ".");
}

} // namespace

PIDFileClaim::PIDFileClaim(Path const& path)
    : m_path(path), m_place(getFilePlace(path)), m_process(getpid()) {
    openFolder();
    awaitTurn();
    try {
        refuseWhenHeld();
        writeRecord();
        takePlace();
    } catch (...) {
        removeUnfinished();
        forget();
        throw;
    }
}

PIDFileClaim::~PIDFileClaim() {
    if (getpid() != m_process)
        return;
    try {
        giveUp();
    } catch (std::exception const& error) {
        logError(error, "The PID file could not be deleted.", kGivingUp);
    }
    forget();
}

void PIDFileClaim::openFolder() {
    Path const folder(String::fromBytes(m_place.folder)); // made before errno is set
    m_folder = openOnlyForNames(m_place.folder);
    if (!m_folder.isOpen())
        throwLastSysError("open", kClaiming, folder);
    m_folderId = getFileId(m_folder).value_or(FileId());
}

// Returns once the unfinished file is this process's own. Until it is renamed or deleted, all others wait.
void PIDFileClaim::awaitTurn() {
    Clock::time_point const start = Clock::now();
    while (!createUnfinished()) {
        // Whoever waits may still get an outdated answer here, but most claims that must fail do so at once.
        refuseWhenHeld();
        Clock::duration const waited = Clock::now() - start;
        if (waited > kPatience)
            throw CError("The PID file '" + m_path.getText() +
                         "' is being claimed by somebody else all the time.");
        if (!clearUnfinished(waited))
            CThread::sleep(kPauseBetweenAttempts);
    }
}

// Nobody else can open the file before it is locked. But another process may have found it unlocked, taken it
// for a leftover and deleted it: then it does not count.
bool PIDFileClaim::createUnfinished() {
    HeldFilesGuard const guard;
    Descriptor file(openat(m_folder.get(), kUnfinishedName,
                           O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC,
                           kModeWhileUnfinished));
    if (!file.isOpen() && errno == EEXIST)
        return false;
    if (!file.isOpen())
        throwLastSysError("open", kClaiming, m_path);
    std::optional<FileId> const id = getFileId(file);
    if (!id || tryLock(file) == LockAttempt::Busy || !isNamed(m_folder, kUnfinishedName, id))
        return false;
    addHeldFile(*id);
    m_file = std::move(file);
    m_fileId = *id;
    return true;
}

void PIDFileClaim::refuseWhenHeld() const {
    auto const lookNow = [this] { return lookAtPIDFile(m_folder, m_place.name, m_path); };
    PIDFileLook const look = lookNow();
    if (look.isOutOfReach)
        fail(EWOULDBLOCK, "open");
    // The file names this process, which does not hold it. Either the process has become another program
    // (exec) and thereby lost its lock, or an earlier process had the number, as in a container, which gives
    // its daemon the same one at each start.
    if (!look.isHeldHere && !look.isLocked && look.record.process == m_process)
        return;
    PIDFileVerdict const verdict = judgePIDFile(look, lookNow, m_path);
    if (verdict.standing == Standing::Unclear)
        throw CError(verdict.reason);
    if (verdict.standing != Standing::Free)
        failHeld(m_path, verdict.process);
}

// Deletes an unfinished file on which nobody is working any more. Returns whether the name is free now.
bool PIDFileClaim::clearUnfinished(Clock::duration waited) const {
    HeldFilesGuard const guard;
    struct stat info = {};
    if (fstatat(m_folder.get(), kUnfinishedName, &info, AT_SYMLINK_NOFOLLOW) == -1)
        return errno == ENOENT;
    if (isHeldHere(getFileId(info)))
        return false;
    Descriptor const file = openOwn(info); // keeps the lock until the name is gone
    if (!isNobodys(file, info, waited))
        return false;
    // A file that stays is still in the way: this is the error with which making it failed.
    if (unlinkat(m_folder.get(), kUnfinishedName, 0) == -1 && errno != ENOENT)
        fail(EEXIST, "open");
    return true;
}

// Not open for a file of another account: others may have opened and locked that, which would say nothing.
Descriptor PIDFileClaim::openOwn(struct stat const& info) const {
    if (!S_ISREG(info.st_mode) || info.st_uid != geteuid())
        return Descriptor();
    return Descriptor(openat(m_folder.get(), kUnfinishedName, O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
}

// Whoever is working on the file has it locked. That cannot be seen for another account's file, nor on a file
// system without locks: there a file is nobody's once it is too old. A claim makes only regular files.
bool PIDFileClaim::isNobodys(Descriptor const& file, struct stat const& info, Clock::duration waited) const {
    switch (file.isOpen() ? tryLock(file) : LockAttempt::Impossible) {
    case LockAttempt::Locked:
        return isNamed(m_folder, kUnfinishedName, getFileId(file));
    case LockAttempt::Busy:
        return false;
    case LockAttempt::Impossible:
        break;
    }
    return waited > kPatienceWithStrangers || !S_ISREG(info.st_mode);
}

void PIDFileClaim::writeRecord() const {
    std::string const record = composePIDRecord();
    if (!writeAll(m_file.get(), record.data(), record.size()))
        throwLastSysError("write", kClaiming, m_path);
    if (fchmod(m_file.get(), kMode) == -1)
        throwLastSysError("fchmod", kClaiming, m_path);
}

// Not flushed to the disk: after a crash of the machine, no process holds the file anyway.
void PIDFileClaim::takePlace() const {
    if (renameat(m_folder.get(), kUnfinishedName, m_folder.get(), m_place.name.c_str()) == -1)
        throwLastSysError("rename", kClaiming, m_path);
    std::optional<FileId> const placed = getFileId(m_folder, m_place.name.c_str());
    bool const isGone = !placed && errno == ENOENT;
    // The owner of the folder may have exchanged the files meanwhile, or taken this one away.
    if (isGone || (placed && *placed != m_fileId))
        fail(EEXIST, "rename");
}

void PIDFileClaim::removeUnfinished() const noexcept {
    if (isNamed(m_folder, kUnfinishedName, m_fileId))
        unlinkat(m_folder.get(), kUnfinishedName, 0);
}

// The lock stays until the file is gone, so that nobody takes its place before that.
void PIDFileClaim::giveUp() {
    reopenFolderWhenLost();
    if (isStillOwn() && unlinkat(m_folder.get(), m_place.name.c_str(), 0) == -1 && errno != ENOENT)
        throwLastSysError("unlink", kGivingUp, m_path);
}

// A program that closes all descriptors may have opened something else under the folder's number.
void PIDFileClaim::reopenFolderWhenLost() {
    if (getFileId(m_folder) == m_folderId)
        return;
    static_cast<void>(m_folder.release());
    m_folder = openOnlyForNames(m_place.folder);
}

bool PIDFileClaim::isStillOwn() const {
    std::optional<FileId> const current = getFileId(m_folder, m_place.name.c_str());
    if (!current && errno != ENOENT)
        throwLastSysError("stat", kGivingUp, m_path);
    return current == m_fileId;
}

// Gives up the lock.
void PIDFileClaim::forget() noexcept {
    HeldFilesGuard const guard;
    removeHeldFile(m_fileId);
    if (getFileId(m_file) == m_fileId)
        m_file.reset();
    else
        static_cast<void>(m_file.release()); // the program has closed it, and it may be another file's by now
}

// For what no system call reports as an error.
void PIDFileClaim::fail(int error, char const* func) const {
    throwSysError(error, {{"func", func}, {"action", kClaiming}, {"path", m_path.getText()}});
}

} // namespace fdn
