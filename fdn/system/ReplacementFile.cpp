#include <fdn/system/ReplacementFile.h>

#include <fdn/sysError.h>
#include <fdn/system/writeQuietly.h>

#include <cerrno>

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fdn {

namespace {

constexpr char kTemporaryName[] = ".text-file.new";

// Without the set-ID bits, which would give the rights of another owner.
constexpr mode_t kPermissions = S_IRWXU | S_IRWXG | S_IRWXO;

} // namespace

ReplacementFile::ReplacementFile(Path const& path, int mode, char const* action)
    : m_path(path), m_action(action), m_place(splitPath(path)),
      m_folder(open(toFileName(m_place.folder), O_RDONLY | O_DIRECTORY | O_CLOEXEC)),
      m_temporaryName(m_folder, kTemporaryName, 0) {
    if (!m_folder.isOpen())
        fail("open");
    lookAtOldFile();
    // Until then, nobody who may not read the old file may read the new one.
    create(static_cast<mode_t>(mode) & m_oldPermissions.value_or(kPermissions));
}

void ReplacementFile::lookAtOldFile() {
    wxCharBuffer const name = toFileName(m_place.name);
    struct stat old = {};
    bool const isThere = fstatat(m_folder.get(), name, &old, AT_SYMLINK_NOFOLLOW) == 0;
    if (!isThere && errno != ENOENT)
        fail("fstatat");
    // The permissions of a stranger's file could open the new one to the stranger.
    if (isThere && S_ISREG(old.st_mode) && old.st_uid == geteuid())
        m_oldPermissions = old.st_mode & kPermissions;
}

void ReplacementFile::create(mode_t mode) {
    auto const make = [&](char const* name) {
        m_file = Descriptor(openat(m_folder.get(), name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
        return m_file.isOpen();
    };
    if (!m_temporaryName.take(make, m_action))
        fail("open");
}

void ReplacementFile::append(std::string const& content) {
    if (!writeAll(m_file.get(), content.data(), content.size()))
        fail("write");
}

void ReplacementFile::takePlace() {
    takePermissions();
    finishFile();
    takeName();
    flushFolder();
}

// Before the file gets its name, under which it must never be seen with any other mode.
void ReplacementFile::takePermissions() {
    if (m_oldPermissions && fchmod(m_file.get(), *m_oldPermissions) != 0)
        fail("fchmod");
}

// Before the file gets its name, which could otherwise stand for an empty file after a crash.
void ReplacementFile::finishFile() {
    if (uninterrupted([&] { return fsync(m_file.get()); }) != 0)
        fail("fsync");
    // An interrupted close has closed the file nevertheless.
    if (close(m_file.release()) != 0 && errno != EINTR)
        fail("close");
}

void ReplacementFile::takeName() {
    wxCharBuffer const name = toFileName(m_place.name);
    if (renameat(m_folder.get(), m_temporaryName.get().c_str(), m_folder.get(), name) != 0)
        fail("rename");
    m_temporaryName.forget();
}

void ReplacementFile::flushFolder() {
    // Some file systems cannot flush folders (EINVAL) and need not.
    if (uninterrupted([&] { return fsync(m_folder.get()); }) != 0 && errno != EINVAL)
        fail("fsync");
}

void ReplacementFile::fail(char const* func) const {
    throwLastSysError(func, m_action, m_path);
}

} // namespace fdn
