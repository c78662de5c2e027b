#include <fdn/LogFile.h>

#include <fdn/CError.h>
#include <fdn/FatalSignalsHeldBack.h>
#include <fdn/files.h>
#include <fdn/sysError.h>

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

bool isRegular(Descriptor const& file) {
    return S_ISREG(examine(file).st_mode);
}

// Whether so much more would make the file too large. One line is never too much for an empty file.
bool isFull(Descriptor const& file, std::size_t more) {
    struct stat const info = examine(file);
    return S_ISREG(info.st_mode) && info.st_size > 0 &&
           static_cast<std::size_t>(info.st_size) + more > kMaximumSize;
}

// Whether the path names the open file. Also when the system does not tell: a program that has given up the
// right to look at the path keeps what it has open.
bool isAt(Path const& path, Descriptor const& file) {
    wxCharBuffer const name = toFileName(path);
    struct stat named = {};
    if (stat(name, &named) != 0)
        return errno != ENOENT && errno != ENOTDIR;
    struct stat const opened = examine(file);
    return named.st_dev == opened.st_dev && named.st_ino == opened.st_ino;
}

} // namespace

void LogFile::append(std::string const& line) {
    std::string const bytes = (m_isLineTorn ? "\n" : "") + line + "\n";
    if (!m_file.isOpen() || !isAt(m_place.file, m_file))
        open();
    if (isFull(m_file, bytes.size()))
        rotate(bytes.size());
    write(bytes);
}

void LogFile::open() {
    m_file.reset();
    if (!m_place.folder.getText().empty())
        ensureFolderExists(m_place.folder, m_place.folderMode);
    wxCharBuffer const name = toFileName(m_place.file);
    int const flags = kOpenFlags | O_CREAT | (m_place.isAnyKind ? 0 : O_NOFOLLOW);
    Descriptor file(::open(name, flags, m_place.fileMode));
    if (!file.isOpen())
        fail("open");
    if (!m_place.isAnyKind && !isRegular(file))
        throw CError("The log '" + m_place.file.getText() + "' is no regular file.");
    m_file = std::move(file);
}

// One process rotates, the others write on. Each that gets the lock goes on with the file that is at the
// path.
void LogFile::rotate(std::size_t size) {
    wxCharBuffer const name = toFileName(m_place.file);
    // Opened anew, because m_file may be shared with the process that this one was forked from, and a lock on
    // it would be shared, too. A link is not rotated: what it leads to is not this program's to move.
    Descriptor const lock(::open(name, kOpenFlags | O_NOFOLLOW));
    if (!lock.isOpen() || flock(lock.get(), LOCK_EX | LOCK_NB) != 0)
        return;
    // Asked again, because another process may have rotated before the lock was had.
    if (isAt(m_place.file, lock) && isFull(lock, size))
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
    FatalSignalsHeldBack const heldBack;
    ssize_t const written = uninterrupted([&] { return ::write(m_file.get(), bytes.data(), bytes.size()); });
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
