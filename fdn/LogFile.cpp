#include <fdn/LogFile.h>

#include <fdn/CError.h>
#include <fdn/sysError.h>
#include <fdn/writeQuietly.h>

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
constexpr int kOpenFlags = O_WRONLY | O_APPEND | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;

struct stat examine(Descriptor const& file) {
    struct stat info = {};
    fstat(file.get(), &info);
    return info;
}

bool isSameFile(struct stat const& left, struct stat const& right) {
    return left.st_dev == right.st_dev && left.st_ino == right.st_ino;
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
    if (!isSameFile(named, known))
        return false;
    known = named;
    return true;
}

} // namespace

void LogFile::append(std::string const& line) {
    if (m_isLineTorn)
        appendBytes("\n" + line);
    else
        appendBytes(line);
}

void LogFile::appendBytes(std::string const& bytes) {
    if (!m_file.isOpen() || !isAt(m_name, m_file, m_info))
        open();
    if (isFull(m_info, bytes.size()))
        rotate(bytes.size());
    write(bytes);
}

void LogFile::open() {
    m_file.reset();
    if (!m_place.folder.getText().empty())
        ensureFolderExists(m_place.folder, m_place.folderMode);
    int const flags = kOpenFlags | O_CREAT | (m_place.isAnyKind ? 0 : O_NOFOLLOW);
    Descriptor file(::open(m_name, flags, m_place.fileMode));
    if (!file.isOpen())
        fail("open");
    m_info = examine(file);
    if (!m_place.isAnyKind && !S_ISREG(m_info.st_mode))
        throw CError("The log '" + m_place.file.getText() + "' is no regular file.");
    m_file = std::move(file);
}

// One process rotates, the others write on. Each that gets the lock goes on with the file that is at the
// path.
void LogFile::rotate(std::size_t size) {
    // Opened anew, because m_file may be shared with the process that this one was forked from, and a lock on
    // it would be shared, too. A link is not rotated: what it leads to is not this program's to move.
    Descriptor const lock(::open(m_name, kOpenFlags | O_NOFOLLOW));
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

void LogFile::write(std::string const& bytes) {
    ssize_t const written = writeQuietly(m_file.get(), bytes.data(), bytes.size());
    if (written == -1)
        fail("write");
    // The rest is not written later, because others may have written meanwhile.
    m_isLineTorn = static_cast<std::size_t>(written) < bytes.size();
    if (m_isLineTorn)
        throw CError("The log '" + m_place.file.getText() + "' took only a part of an entry.");
}

void LogFile::fail(char const* func) const {
    throwLastSysError(func, "writing the log", m_place.file);
}

} // namespace fdn
