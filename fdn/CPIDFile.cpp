#include <fdn/CPIDFile.h>

#include <fdn/CError.h>
#include <fdn/CThread.h>
#include <fdn/Descriptor.h>
#include <fdn/ProcessIdentity.h>
#include <fdn/files.h>
#include <fdn/log.h>
#include <fdn/sysError.h>
#include <fdn/writeQuietly.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <climits>
#include <filesystem>
#include <string>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fdn {

namespace {

constexpr char kClaiming[] = "CPIDFile constructor";
constexpr char kGivingUp[] = "CPIDFile destructor";
constexpr char kAsking[] = "CPIDFile::getActivePID";
constexpr std::size_t kMaxSize = 4096;
constexpr mode_t kMode = 0644;
constexpr std::chrono::seconds kLockPatience(5);
constexpr unsigned kPauseBetweenLockAttempts = 5; // milliseconds

// The same in every folder and for every PID file in it, so that one which a crash leaves behind is not the
// first of many. The folder's lock keeps two processes from using it at once.
constexpr char kTemporaryName[] = ".pid-file.new";

// What a PID file says, and who says it.
struct Record {
    int process = 0;
    std::string identity; // empty: not known
    uid_t owner = 0;
};

// Where a PID file is: a name in a folder, because the whole path may be longer than the system takes.
struct Place {
    std::string folder;
    std::string name;
};

Place getPlace(Path const& path) {
    std::filesystem::path const whole(toFileName(path).data());
    return {whole.has_parent_path() ? whole.parent_path().string() : ".", whole.filename().string()};
}

bool saysNoFile(int error) {
    // ELOOP: a symbolic link, which is not believed. ENXIO and ENODEV: a socket or a device.
    return error == ENOENT || error == ENOTDIR || error == ELOOP || error == ENXIO || error == ENODEV;
}

// 0 for everything but a number that a process can have.
int parseProcess(std::string line) {
    line.erase(line.find_last_not_of(" \t\r") + 1);
    int process = 0;
    auto const [end, error] = std::from_chars(line.data(), line.data() + line.size(), process);
    bool const isNumber = error == std::errc() && end == line.data() + line.size();
    return isNumber && process > 0 ? process : 0;
}

Record parseRecord(std::string const& content, uid_t owner) {
    Record record;
    std::size_t const endOfFirst = content.find('\n');
    record.process = parseProcess(content.substr(0, endOfFirst));
    if (endOfFirst != std::string::npos)
        record.identity = content.substr(endOfFirst + 1, content.find('\n', endOfFirst + 1) - endOfFirst - 1);
    record.owner = owner;
    return record;
}

std::string readContent(Descriptor const& file, Path const& path) {
    std::array<char, kMaxSize> content;
    ssize_t const size = uninterrupted([&] { return read(file.get(), content.data(), content.size()); });
    if (size == -1)
        throwLastSysError("read", kAsking, path);
    return std::string(content.data(), static_cast<std::size_t>(size));
}

// Not waiting: a FIFO has nobody at its other end.
Descriptor openToRead(int folder, char const* name) {
    return Descriptor(openat(folder, name, O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_NOCTTY | O_CLOEXEC));
}

Descriptor openToRead(Path const& path) {
    wxCharBuffer const name = toFileName(path);
    if (name.length() < PATH_MAX)
        return openToRead(AT_FDCWD, name);
    Place const place = getPlace(path);
    Descriptor const folder(open(place.folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    return folder.isOpen() ? openToRead(folder.get(), place.name.c_str()) : Descriptor();
}

// The record of a file that may be believed; of others, one without a process. Where the file is not open,
// errno is still that of the attempt.
Record readRecord(Path const& path, Descriptor const& file) {
    if (!file.isOpen() && saysNoFile(errno))
        return Record();
    if (!file.isOpen())
        throwLastSysError("open", kAsking, path);
    struct stat info = {};
    if (fstat(file.get(), &info) == -1)
        throwLastSysError("fstat", kAsking, path);
    // With a second name, it may be another program's file, made to look like this one's.
    if (!S_ISREG(info.st_mode) || info.st_nlink != 1 || info.st_size > static_cast<off_t>(kMaxSize))
        return Record();
    return parseRecord(readContent(file, path), info.st_uid);
}

bool isSameProcess(Record const& record) {
    return record.identity.empty() || record.identity == getProcessIdentity(record.process);
}

bool maySpeakFor(Record const& record) {
    return record.owner == 0 || mayBeSignalledBy(record.owner, record.process);
}

int getHolder(Record const& record) {
    bool const isHeld =
        record.process > 0 && isProcessAlive(record.process) && isSameProcess(record) && maySpeakFor(record);
    return isHeld ? record.process : 0;
}

std::string makeContent(pid_t process) {
    std::string const identity = getProcessIdentity(process);
    return std::to_string(process) + "\n" + (identity.empty() ? "" : identity + "\n");
}

String toText(int number) {
    return String::fromBytes(std::to_string(number));
}

bool isSameFile(struct stat const& left, struct stat const& right) {
    return left.st_dev == right.st_dev && left.st_ino == right.st_ino;
}

// The lock under which the PID files of a folder change hands.
class FolderLock {
public:
    // Does not wait for ever: everyone who may read the folder can lock it, too.
    explicit FolderLock(Descriptor const& folder) : m_folder(folder.get()) {
        auto const deadline = std::chrono::steady_clock::now() + kLockPatience;
        while (!tryLock() && m_error == EWOULDBLOCK && std::chrono::steady_clock::now() < deadline)
            CThread::sleep(kPauseBetweenLockAttempts);
    }

    FolderLock(FolderLock const&) = delete;
    FolderLock& operator=(FolderLock const&) = delete;

    // Closing the folder would not do, where a forked process has it, too.
    ~FolderLock() {
        if (m_error == 0)
            flock(m_folder, LOCK_UN);
    }

    // 0 when the lock is held.
    int getError() const { return m_error; }

private:
    bool tryLock() {
        m_error = uninterrupted([&] { return flock(m_folder, LOCK_EX | LOCK_NB); }) == 0 ? 0 : errno;
        return m_error == 0;
    }

    int m_folder;
    int m_error = 0;
};

} // namespace

// The claim of one process on one file, which it remembers as a name in an open folder: the process may
// change its current folder meanwhile.
class CPIDFile::CClaim {
public:
    explicit CClaim(Path const& path);
    CClaim(CClaim const&) = delete;
    CClaim& operator=(CClaim const&) = delete;
    ~CClaim();

private:
    void openFolder();
    void requireLock(FolderLock const& lock) const;
    void refuseWhenHeld() const;
    void createTemporaryFile();
    Descriptor openTemporaryFile() const;
    void removeTemporaryFile() const noexcept;
    void writeTemporaryFile() const;
    void takePlace() const;
    void giveUp() const noexcept;
    bool isStillOwn() const;
    [[noreturn]] void fail(int error, char const* func, char const* action = kClaiming) const;

    Path m_path;
    Place m_place;
    pid_t m_process;
    Descriptor m_folder;
    Descriptor m_file; // open, so that no other file gets its inode
};

CPIDFile::CClaim::CClaim(Path const& path) : m_path(path), m_place(getPlace(path)), m_process(getpid()) {
    openFolder();
    FolderLock const lock(m_folder);
    requireLock(lock);
    refuseWhenHeld();
    createTemporaryFile();
    try {
        writeTemporaryFile();
        takePlace();
    } catch (...) {
        removeTemporaryFile();
        throw;
    }
}

CPIDFile::CClaim::~CClaim() {
    if (getpid() != m_process)
        return;
    FolderLock const lock(m_folder);
    giveUp();
}

void CPIDFile::CClaim::openFolder() {
    m_folder = Descriptor(open(m_place.folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!m_folder.isOpen())
        throwLastSysError("open", kClaiming, Path(String::fromBytes(m_place.folder)));
}

void CPIDFile::CClaim::requireLock(FolderLock const& lock) const {
    if (lock.getError() == 0)
        return;
    throwSysError(lock.getError(),
                  {{"func", "flock"}, {"action", kClaiming}, {"path", String::fromBytes(m_place.folder)}});
}

void CPIDFile::CClaim::refuseWhenHeld() const {
    Record const record = readRecord(m_path, openToRead(m_folder.get(), m_place.name.c_str()));
    // A container gives its daemon the same number each time it is started.
    if (record.process == m_process && record.identity.empty())
        return;
    int const holder = getHolder(record);
    if (holder != 0)
        throw CError("The PID file '" + m_path.getText() + "' is held by process " + toText(holder) + ".");
}

void CPIDFile::CClaim::createTemporaryFile() {
    m_file = openTemporaryFile();
    if (!m_file.isOpen() && errno == EEXIST) { // one that a crash has left behind
        removeTemporaryFile();
        m_file = openTemporaryFile();
    }
    if (!m_file.isOpen())
        fail(errno, "open");
}

Descriptor CPIDFile::CClaim::openTemporaryFile() const {
    return Descriptor(
        openat(m_folder.get(), kTemporaryName, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kMode));
}

void CPIDFile::CClaim::removeTemporaryFile() const noexcept {
    unlinkat(m_folder.get(), kTemporaryName, 0);
}

void CPIDFile::CClaim::writeTemporaryFile() const {
    // Once more, because the umask may have taken from it.
    if (fchmod(m_file.get(), kMode) == -1)
        fail(errno, "fchmod");
    std::string const content = makeContent(m_process);
    ssize_t const size = writeQuietly(m_file.get(), content.data(), content.size());
    if (size != static_cast<ssize_t>(content.size()))
        fail(size == -1 ? errno : ENOSPC, "write");
}

// Not flushed to the disk: after a crash of the machine, no process holds the file anyway.
void CPIDFile::CClaim::takePlace() const {
    if (renameat(m_folder.get(), kTemporaryName, m_folder.get(), m_place.name.c_str()) == -1)
        fail(errno, "rename");
}

// A file that stays is no harm: it is known for a dead process's. But somebody may wonder.
void CPIDFile::CClaim::giveUp() const noexcept {
    try {
        if (isStillOwn() && unlinkat(m_folder.get(), m_place.name.c_str(), 0) == -1 && errno != ENOENT)
            fail(errno, "unlink", kGivingUp);
    } catch (std::exception const& error) {
        logError(error, "The PID file could not be deleted.", kGivingUp);
    }
}

bool CPIDFile::CClaim::isStillOwn() const {
    struct stat own = {};
    struct stat current = {};
    if (fstat(m_file.get(), &own) == -1)
        fail(errno, "fstat", kGivingUp);
    if (fstatat(m_folder.get(), m_place.name.c_str(), &current, AT_SYMLINK_NOFOLLOW) == 0)
        return isSameFile(own, current);
    if (errno != ENOENT)
        fail(errno, "stat", kGivingUp);
    return false;
}

void CPIDFile::CClaim::fail(int error, char const* func, char const* action) const {
    throwSysError(error, {{"func", func}, {"action", action}, {"path", m_path.getText()}});
}

CPIDFile::CPIDFile(Path const& path) : m_claim(std::make_unique<CClaim>(path)) {}

CPIDFile::~CPIDFile() = default;

int CPIDFile::getActivePID(Path const& path) {
    return getHolder(readRecord(path, openToRead(path)));
}

} // namespace fdn
