#include <fdn/CPIDFile.h>

#include <fdn/CError.h>
#include <fdn/CThread.h>
#include <fdn/log.h>
#include <fdn/pidfile/HeldFiles.h>
#include <fdn/pidfile/PIDFileHolder.h>
#include <fdn/sysError.h>
#include <fdn/system/writeQuietly.h>

#include <cerrno>
#include <chrono>
#include <optional>

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fdn {

namespace {

using Clock = std::chrono::steady_clock;

constexpr char kClaiming[] = "CPIDFile constructor";
constexpr char kGivingUp[] = "CPIDFile destructor";
constexpr mode_t kModeWhileUnfinished = 0600;
constexpr mode_t kMode = 0644;
constexpr std::chrono::seconds kPatience(5);
constexpr std::chrono::seconds kPatienceWithStrangers(1);
constexpr unsigned kPauseBetweenAttempts = 5; // milliseconds

// The file's name until it takes its place: the same in every folder and for every PID file in it, so that
// whoever makes it keeps all others out, and one which a crash leaves behind is not the first of many.
constexpr char kUnfinishedName[] = ".pid-file.new";

enum class LockAttempt { Locked, Busy, Impossible };

// On the whole file, for as long as this process lives or until it closes any descriptor of the file.
LockAttempt tryLock(Descriptor const& file) {
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    if (fcntl(file.get(), F_SETLK, &lock) == 0)
        return LockAttempt::Locked;
    return errno == EACCES || errno == EAGAIN ? LockAttempt::Busy : LockAttempt::Impossible;
}

std::optional<FileId> getIdOf(Descriptor const& file) {
    struct stat info = {};
    return fstat(file.get(), &info) == 0 ? std::optional<FileId>(getFileId(info)) : std::nullopt;
}

bool isNamed(Descriptor const& folder, char const* name, FileId const& file) {
    struct stat info = {};
    return fstatat(folder.get(), name, &info, AT_SYMLINK_NOFOLLOW) == 0 && getFileId(info) == file;
}

[[noreturn]] void failHeld(Path const& path, pid_t holder) {
    throw CError("The PID file '" + path.getText() + "' is held by process " +
                 String::fromBytes(std::to_string(holder)) + ".");
}

} // namespace

// The claim of one process on one file, which it remembers as a name in an open folder: the process may
// change its current folder meanwhile.
//
// The steps have their names in tests/model/claim.pml, too, which shows that they keep all others out.
class CPIDFile::CClaim {
public:
    explicit CClaim(Path const& path);
    CClaim(CClaim const&) = delete;
    CClaim& operator=(CClaim const&) = delete;
    ~CClaim();

private:
    void openFolder();
    void refuseWhenHeld() const;
    void awaitTurn();
    bool createUnfinished();
    bool clearUnfinished(bool isTooOld) const;
    Descriptor openOwn(struct stat const& info) const;
    void removeUnfinished() const noexcept;
    void write() const;
    void takePlace() const;
    void giveUp();
    void reopenFolderWhenLost();
    bool isStillOwn() const;
    void forget() noexcept;
    [[noreturn]] void fail(int error, char const* func, char const* action = kClaiming) const;

    Path m_path;
    FilePlace m_place;
    pid_t m_process;
    Descriptor m_folder;
    FileId m_folderId;
    Descriptor m_file; // keeps the lock
    FileId m_fileId;
};

CPIDFile::CClaim::CClaim(Path const& path) : m_path(path), m_place(getFilePlace(path)), m_process(getpid()) {
    openFolder();
    awaitTurn();
    try {
        refuseWhenHeld();
        write();
        takePlace();
    } catch (...) {
        removeUnfinished();
        forget();
        throw;
    }
}

CPIDFile::CClaim::~CClaim() {
    if (getpid() != m_process)
        return;
    try {
        giveUp();
    } catch (std::exception const& error) {
        logError(error, "The PID file could not be deleted.", kGivingUp);
    }
    forget();
}

void CPIDFile::CClaim::openFolder() {
    m_folder = Descriptor(open(m_place.folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!m_folder.isOpen())
        throwLastSysError("open", kClaiming, Path(String::fromBytes(m_place.folder)));
    m_folderId = getIdOf(m_folder).value_or(FileId());
}

void CPIDFile::CClaim::refuseWhenHeld() const {
    PIDFileLook const look = lookAtPIDFile(m_folder, m_place.name, m_path);
    if (look.isOutOfReach)
        fail(EWOULDBLOCK, "open");
    // A process that has become another program is the same one, and has lost its lock by that. A container
    // gives its daemon the same number each time it is started.
    if (!look.isHeldHere && !look.isLocked && look.record.process == m_process)
        return;
    PIDFileHolder const holder = findHolder(look, m_path);
    if (holder.standing == Standing::Unclear)
        throw CError(holder.reason);
    if (holder.standing != Standing::Free)
        failHeld(m_path, holder.process);
}

// Until the unfinished file is this process's, which keeps all others from looking and taking the place.
void CPIDFile::CClaim::awaitTurn() {
    Clock::time_point const start = Clock::now();
    while (!createUnfinished()) {
        refuseWhenHeld();
        auto const waited = Clock::now() - start;
        if (waited > kPatience)
            throw CError("The PID file '" + m_path.getText() +
                         "' is being claimed by somebody else all the time.");
        if (!clearUnfinished(waited > kPatienceWithStrangers))
            CThread::sleep(kPauseBetweenAttempts);
    }
}

// The file is open for nobody else before it is locked. If another process has taken it for left behind and
// deleted it, it does not count.
bool CPIDFile::CClaim::createUnfinished() {
    HeldFilesGuard const guard;
    Descriptor file(openat(m_folder.get(), kUnfinishedName,
                           O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC,
                           kModeWhileUnfinished));
    if (!file.isOpen() && errno != EEXIST)
        fail(errno, "open");
    std::optional<FileId> const id = getIdOf(file);
    if (!id || tryLock(file) == LockAttempt::Busy || !isNamed(m_folder, kUnfinishedName, *id))
        return false;
    addHeldFile(*id);
    m_file = std::move(file);
    m_fileId = *id;
    return true;
}

// Deletes an unfinished file that nobody works at. Returns whether there is none any more.
//
// Whoever works at it has it locked. That cannot be seen of another account's file, nor where there are no
// locks: such a file is nobody's once it is too old.
bool CPIDFile::CClaim::clearUnfinished(bool isTooOld) const {
    HeldFilesGuard const guard;
    struct stat info = {};
    if (fstatat(m_folder.get(), kUnfinishedName, &info, AT_SYMLINK_NOFOLLOW) == -1)
        return errno == ENOENT;
    if (isHeldHere(getFileId(info)))
        return false;
    Descriptor const file = openOwn(info); // keeps the lock until the name is gone
    LockAttempt const attempt = file.isOpen() ? tryLock(file) : LockAttempt::Impossible;
    bool const isLeft = attempt == LockAttempt::Locked &&
                        isNamed(m_folder, kUnfinishedName, getIdOf(file).value_or(FileId()));
    bool const isNobodys = attempt == LockAttempt::Impossible && (isTooOld || !S_ISREG(info.st_mode));
    if (!isLeft && !isNobodys)
        return false;
    if (unlinkat(m_folder.get(), kUnfinishedName, 0) == -1 && errno != ENOENT)
        fail(EEXIST, "open");
    return true;
}

// None for a file that this account has not made: what others may open, they may have locked.
Descriptor CPIDFile::CClaim::openOwn(struct stat const& info) const {
    if (!S_ISREG(info.st_mode) || info.st_uid != geteuid())
        return Descriptor();
    return Descriptor(openat(m_folder.get(), kUnfinishedName, O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
}

void CPIDFile::CClaim::removeUnfinished() const noexcept {
    if (isNamed(m_folder, kUnfinishedName, m_fileId))
        unlinkat(m_folder.get(), kUnfinishedName, 0);
}

void CPIDFile::CClaim::write() const {
    if (!writeAll(m_file, composePIDRecord()))
        fail(errno, "write");
    if (fchmod(m_file.get(), kMode) == -1)
        fail(errno, "fchmod");
}

// Not flushed to the disk: after a crash of the machine, no process holds the file anyway.
void CPIDFile::CClaim::takePlace() const {
    if (renameat(m_folder.get(), kUnfinishedName, m_folder.get(), m_place.name.c_str()) == -1)
        fail(errno, "rename");
    struct stat info = {};
    bool const isThere = fstatat(m_folder.get(), m_place.name.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0;
    // Where the folder's owner has exchanged the files, or taken this one away.
    if (isThere ? getFileId(info) != m_fileId : errno == ENOENT)
        fail(EEXIST, "rename");
}

// The lock is kept until the file is gone: nobody takes its place before.
void CPIDFile::CClaim::giveUp() {
    reopenFolderWhenLost();
    if (isStillOwn() && unlinkat(m_folder.get(), m_place.name.c_str(), 0) == -1 && errno != ENOENT)
        fail(errno, "unlink", kGivingUp);
}

// A program that has closed all descriptors may have opened something else in the folder's place.
void CPIDFile::CClaim::reopenFolderWhenLost() {
    if (getIdOf(m_folder) == m_folderId)
        return;
    static_cast<void>(m_folder.release());
    m_folder = Descriptor(open(m_place.folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

bool CPIDFile::CClaim::isStillOwn() const {
    struct stat current = {};
    if (fstatat(m_folder.get(), m_place.name.c_str(), &current, AT_SYMLINK_NOFOLLOW) == 0)
        return getFileId(current) == m_fileId;
    if (errno != ENOENT)
        fail(errno, "stat", kGivingUp);
    return false;
}

void CPIDFile::CClaim::forget() noexcept {
    HeldFilesGuard const guard;
    removeHeldFile(m_fileId);
    if (getIdOf(m_file) == m_fileId)
        m_file.reset();
    else
        static_cast<void>(m_file.release()); // closed already, and perhaps another file's
}

void CPIDFile::CClaim::fail(int error, char const* func, char const* action) const {
    throwSysError(error, {{"func", func}, {"action", action}, {"path", m_path.getText()}});
}

CPIDFile::CPIDFile(Path const& path) : m_claim(std::make_unique<CClaim>(path)) {}

CPIDFile::~CPIDFile() = default;

int CPIDFile::getActivePID(Path const& path) {
    PIDFileHolder const holder = findHolder(lookAtPIDFile(path), path);
    if (holder.standing == Standing::Unclear)
        throw CError(holder.reason);
    return holder.standing == Standing::Held ? holder.process : 0;
}

} // namespace fdn
