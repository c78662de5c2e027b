#include <fdn/log/LogFile.h>

#include <fdn/CError.h>
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

constexpr std::size_t kMaximumSize = 10UL * 1024 * 1024;
constexpr int kOldFiles = 5;

// Not blocking, so that a pipe without a reader, or whose reader is slow, does not hold the program up; and a
// terminal must not become the controlling one of a daemon.
constexpr int kOpenFlags = O_APPEND | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;

struct stat examine(Descriptor const& file) {
    struct stat info = {};
    fstat(file.get(), &info);
    return info;
}

// Whether so much more would make the file too large. One line is never too much for an empty file.
bool isFull(struct stat const& file, std::size_t more) {
    return S_ISREG(file.st_mode) && file.st_size > 0 &&
           static_cast<std::size_t>(file.st_size) + more > kMaximumSize;
}

// Whether the name leads to the open file; what is known of that is then brought up to date. Also when the
// system does not tell: a program that has given up the right to look at the name keeps what it has open.
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
        open();
    if (isFull(m_info, line.size()))
        rotate(line.size());
    lookForTornLine();
    if (m_isLineTorn)
        write("\n" + line);
    else
        write(line);
}

// A program that has closed all descriptors may have opened a file of its own in the log's place.
void LogFile::letGoWhenClosed() {
    if (getFileId(examine(m_file)) != getFileId(m_info))
        static_cast<void>(m_file.release());
}

void LogFile::open() {
    m_file.reset();
    if (!m_place.folder.getText().empty())
        ensureFolderExists(m_place.folder, m_place.folderMode);
    Descriptor file = openByName();
    m_isDuplicate = !file.isOpen();
    if (m_isDuplicate)
        file = duplicate();
    if (!file.isOpen())
        fail("open");
    m_info = examine(file);
    if (!m_place.isAnyKind && !S_ISREG(m_info.st_mode))
        throw CError("The log '" + m_place.file.getText() + "' is no regular file.");
    m_file = std::move(file);
    m_end = kUnknown;
}

// To be read, too, if it is a file and may be: for the look at its last line. A pipe that this process could
// read from would seem to have a reader.
Descriptor LogFile::openByName() const {
    int const flags = kOpenFlags | O_CREAT | (m_place.isAnyKind ? 0 : O_NOFOLLOW);
    struct stat info = {};
    bool const isFile = stat(m_name, &info) != 0 || S_ISREG(info.st_mode);
    Descriptor readable(isFile ? ::open(m_name, flags | O_RDWR, m_place.fileMode) : -1);
    if (readable.isOpen())
        return readable;
    return Descriptor(::open(m_name, flags | O_WRONLY, m_place.fileMode));
}

// Of a descriptor of the program that cannot be opened anew: a socket, or a pipe of another user. It then
// shares its flags with others, and must stay one that waits.
Descriptor LogFile::duplicate() const {
    int const savedError = errno;
    Descriptor copy(m_place.descriptor < 0 ? -1
                                           : fcntl(m_place.descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    mode_t const mode = examine(copy).st_mode;
    if (!S_ISSOCK(mode) && !S_ISFIFO(mode) && !S_ISREG(mode))
        copy.reset(); // a terminal does not tell how much it takes at once
    errno = savedError;
    return copy;
}

// One process rotates, the others write on. Each that gets the lock goes on with the file that is at the
// path.
void LogFile::rotate(std::size_t size) {
    // Opened anew, because m_file may be shared with the process that this one was forked from, and a lock on
    // it would be shared, too. A link is not rotated: what it leads to is not this program's to move.
    Descriptor const lock(::open(m_name, kOpenFlags | O_WRONLY | O_NOFOLLOW));
    if (!lock.isOpen() || flock(lock.get(), LOCK_EX | LOCK_NB) != 0)
        return;
    // Asked again, because another process may have rotated before the lock was had.
    struct stat info = examine(lock);
    if (isAt(m_name, lock, info) && isFull(info, size))
        shiftFiles();
    open();
}

void LogFile::shiftFiles() const {
    for (int age = kOldFiles; age > 0; --age) {
        wxCharBuffer const from = toFileName(getOldFile(age - 1));
        wxCharBuffer const to = toFileName(getOldFile(age));
        // Where files cannot be moved, the log grows on.
        static_cast<void>(rename(from, to));
    }
}

Path LogFile::getOldFile(int age) const {
    if (age == 0)
        return m_place.file;
    return Path(m_place.file.getText() + "." + std::to_string(age).c_str());
}

// The last line of a file that is not as this process has left it may be a torn one: of another process, or
// of an earlier one.
void LogFile::lookForTornLine() {
    if (S_ISREG(m_info.st_mode) && m_info.st_size != m_end)
        m_isLineTorn = endsWithinLine();
}

// Where that cannot be read, the line is taken for whole.
bool LogFile::endsWithinLine() const {
    char last = '\n';
    off_t const size = m_info.st_size;
    if (size == 0 || pread(m_file.get(), &last, 1, size - 1) != 1 || last == '\n')
        return false;
    // While another process writes, the size grows page by page. The kernel lets one write at a time: after
    // an empty one, the other is over, and the file larger.
    writeQuietly(m_file.get(), "", 0);
    return examine(m_file).st_size == size;
}

void LogFile::write(std::string const& bytes) {
    auto const writeBytes = m_isDuplicate ? &writeWithoutWaiting : &writeQuietly;
    ssize_t const written = writeBytes(m_file.get(), bytes.data(), bytes.size());
    if (written == -1)
        fail("write");
    // The rest is not written later, because others may have written meanwhile.
    m_end = m_info.st_size + written;
    m_isLineTorn = static_cast<std::size_t>(written) < bytes.size();
    if (m_isLineTorn)
        throw CError("The log '" + m_place.file.getText() + "' took only a part of an entry.");
}

void LogFile::fail(char const* func) const {
    throwLastSysError(func, "writing the log", m_place.file);
}

} // namespace fdn
