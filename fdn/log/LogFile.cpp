#include <fdn/log/LogFile.h>

#include <fdn/CError.h>
#include <fdn/files.h>
#include <fdn/sysError.h>
#include <fdn/system/FileId.h>
#include <fdn/system/writeQuietly.h>

#include <cerrno>

#include <fcntl.h>
#include <stdio.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fdn {

namespace {

// On 32-bit machines too: wxWidgets' flags ask for it.
static_assert(sizeof(off_t) == 8, "log files may have any size");

constexpr off_t kMaximumSize = 10L * 1024 * 1024;
constexpr int kOldFiles = 5;

// O_NONBLOCK, so that a pipe without a reader or with a slow one does not hold up the program. O_NOCTTY, so
// that a terminal does not become a daemon's controlling one.
constexpr int kOpenFlags = O_APPEND | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;

struct stat examine(int file) {
    struct stat info = {};
    fstat(file, &info);
    return info;
}

struct stat examine(Descriptor const& file) {
    return examine(file.get());
}

// Whether `more` bytes would make the file too large. No line is too long for an empty file.
bool isFull(struct stat const& file, std::size_t more) {
    return S_ISREG(file.st_mode) && file.st_size > 0 &&
           file.st_size > kMaximumSize - static_cast<off_t>(more);
}

// Whether the name still leads to the open file; brings `known` up to date. The answer is yes when the system
// refuses to say: a program that has given up the right to look at the name keeps what it has open.
bool isAt(char const* name, Descriptor const& file, struct stat& known) {
    struct stat named = {};
    if (stat(name, &named) != 0) {
        if (errno == ENOENT || errno == ENOTDIR)
            return false;
        known = examine(file);
        return true;
    }
    if (getFileId(named) != getFileId(known))
        return false;
    known = named;
    return true;
}

} // namespace

void LogFile::append(std::string const& line) {
    letGoWhenClosed();
    if (!m_file.isOpen() || !isAt(m_name, m_file, m_info))
        reopen();
    if (isFull(m_info, line.size()))
        rotate(line.size());
    lookForTornLine();
    if (m_isLineTorn)
        writeOnce("\n" + line);
    else
        writeOnce(line);
}

bool LogFile::isSameAs(int descriptor) const {
    struct stat info = {};
    return fstat(descriptor, &info) == 0 && getFileId(info) == getFileId(m_info);
}

// A program that has closed all descriptors may have a file of its own under the log's number by now, which
// must be neither written to nor closed.
void LogFile::letGoWhenClosed() {
    if (getFileId(examine(m_file)) != getFileId(m_info))
        static_cast<void>(m_file.release());
}

void LogFile::reopen() {
    m_file.reset();
    Descriptor file = isSharedWithProgram() ? Descriptor() : openWithFolder();
    m_isDuplicate = !file.isOpen();
    if (m_isDuplicate)
        file = duplicateGiven();
    if (!file.isOpen())
        fail("open");
    m_info = examine(file);
    if (!m_place.isAnyKind && !S_ISREG(m_info.st_mode))
        throw CError("The log '" + m_place.file.getText() + "' is no regular file.");
    m_file = std::move(file);
    m_end = kUnknown;
}

// A file that the program also writes to by itself, through the descriptor. If it were opened by name, each
// would write where it has left off, over what the other has written meanwhile.
bool LogFile::isSharedWithProgram() const {
    int const descriptor = m_place.descriptor;
    return descriptor >= 0 && S_ISREG(examine(descriptor).st_mode) &&
           (fcntl(descriptor, F_GETFL) & O_ACCMODE) != O_RDONLY;
}

// The folder is nearly always there.
Descriptor LogFile::openWithFolder() const {
    Descriptor file = openByName();
    if (file.isOpen() || m_place.folder.getText().empty())
        return file;
    ensureFolderExists(m_place.folder, m_place.folderMode);
    return openByName();
}

// Opens a file for reading as well when that is allowed, for the look at its last line. A pipe is opened for
// writing only: it would seem to have a reader if this process could read from it.
Descriptor LogFile::openByName() const {
    int const flags = kOpenFlags | O_CREAT | (m_place.isAnyKind ? 0 : O_NOFOLLOW);
    struct stat info = {};
    bool const isFile = stat(m_name, &info) != 0 || S_ISREG(info.st_mode);
    Descriptor readable(isFile ? ::open(m_name, flags | O_RDWR, m_place.fileMode) : -1);
    if (readable.isOpen())
        return readable;
    return Descriptor(::open(m_name, flags | O_WRONLY, m_place.fileMode));
}

// The program's own descriptor, for what cannot be opened by name again: a socket, or a pipe of another user.
// Others share the duplicate's flags, so it must stay blocking. Leaves errno as openByName() has set it.
Descriptor LogFile::duplicateGiven() const {
    int const savedError = errno;
    Descriptor copy(m_place.descriptor < 0 ? -1
                                           : fcntl(m_place.descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    mode_t const mode = examine(copy).st_mode;
    if (!S_ISSOCK(mode) && !S_ISFIFO(mode) && !S_ISREG(mode))
        copy.reset(); // a blocking terminal may hold up the program: nothing shows how much it takes at once
    errno = savedError;
    return copy;
}

// One process rotates while the others go on writing. Each that gets the lock continues with the file that is
// at the path then.
void LogFile::rotate(std::size_t size) {
    // The lock is taken on a descriptor of its own: m_file may be shared with the process that this one was
    // forked from, and so would a lock on it. A link is not rotated, because its target belongs to others.
    Descriptor const lock(::open(m_name, kOpenFlags | O_WRONLY | O_NOFOLLOW));
    if (!lock.isOpen() || flock(lock.get(), LOCK_EX | LOCK_NB) != 0)
        return;
    // Another process may have rotated before this one got the lock, so look again.
    struct stat info = examine(lock);
    if (isAt(m_name, lock, info) && isFull(info, size))
        shiftFiles();
    reopen();
}

void LogFile::shiftFiles() const {
    for (int age = kOldFiles; age > 0; --age) {
        wxCharBuffer const from = toFileName(getOldFile(age - 1));
        wxCharBuffer const to = toFileName(getOldFile(age));
        // If files cannot be moved, the log keeps growing.
        static_cast<void>(rename(from, to));
    }
}

Path LogFile::getOldFile(int age) const {
    if (age == 0)
        return m_place.file;
    return Path(m_place.file.getText() + "." + std::to_string(age).c_str());
}

// A file that is not as this process left it may end with a torn line of another process or an earlier one.
void LogFile::lookForTornLine() {
    if (S_ISREG(m_info.st_mode) && m_info.st_size != m_end)
        m_isLineTorn = endsWithinLine();
}

// A last byte that cannot be read counts as a line feed.
bool LogFile::endsWithinLine() const {
    char last = '\n';
    off_t const size = m_info.st_size;
    if (size == 0 || pread(m_file.get(), &last, 1, size - 1) != 1 || last == '\n')
        return false;
    // While another process writes, the size grows page by page. The kernel makes one write at a time, so an
    // empty write returns after the other one is complete, and the file has grown.
    writeQuietly(m_file.get(), "", 0);
    return examine(m_file).st_size == size;
}

void LogFile::writeOnce(std::string const& bytes) {
    bool const mayBlock = m_isDuplicate && !S_ISREG(m_info.st_mode);
    auto const writeBytes = mayBlock ? &writeWithoutWaiting : &writeQuietly;
    ssize_t const written = writeBytes(m_file.get(), bytes.data(), bytes.size());
    if (written == -1)
        fail("write");
    // The rest of a torn line is not written later, because others may write in between.
    m_end = m_info.st_size + written;
    m_isLineTorn = static_cast<std::size_t>(written) < bytes.size();
    if (m_isLineTorn)
        throw CError("The log '" + m_place.file.getText() + "' took only a part of an entry.");
}

void LogFile::fail(char const* func) const {
    throwLastSysError(func, "writing the log", m_place.file);
}

} // namespace fdn
