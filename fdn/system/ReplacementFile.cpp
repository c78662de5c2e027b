#include <fdn/system/ReplacementFile.h>

#include <fdn/sysError.h>
#include <fdn/system/writeQuietly.h>

#include <cerrno>
#include <cstdint>

#include <fcntl.h>
#include <stdio.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace fdn {

namespace {

// The same in every folder and for every file in it, so that one which a killed process leaves behind is not
// the first of many. The folder's lock keeps two processes from using it at once.
constexpr char kUsualName[] = ".text-file.new";

// Without the set-ID bits, which would give the rights of another owner.
constexpr mode_t kPermissions = S_IRWXU | S_IRWXG | S_IRWXO;

// For those who do not get the lock. Not derived from the name of the file, which may be as long as a name
// can be, and not one to be foreseen.
std::string makeTemporaryName(char const* action) {
    std::uint64_t number = 0;
    if (getentropy(&number, sizeof number) != 0)
        throwLastSysError("getentropy", action);
    return "." + std::to_string(number) + ".tmp";
}

} // namespace

ReplacementFile::ReplacementFile(Path const& path, int mode, char const* action)
    : m_path(path), m_action(action) {
    String const& text = path.getText();
    std::size_t const lastSep = text.find_last_of(L'/');
    std::size_t const nameStart = lastSep == String::npos ? 0 : lastSep + 1;
    m_folderPath = Path(nameStart == 0 ? String(".") : String(text.substr(0, nameStart)));
    m_name = Path(text.substr(nameStart));
    openFolder();
    lookAtOldFile();
    // What only some may read is open to no more of them meanwhile.
    create(static_cast<mode_t>(mode) & m_oldPermissions.value_or(kPermissions));
}

ReplacementFile::~ReplacementFile() {
    if (!m_temporaryName.empty())
        unlinkat(m_folder.get(), m_temporaryName.c_str(), 0);
    // Closing the folder would not do, where a forked process has it, too.
    flock(m_folder.get(), LOCK_UN);
}

void ReplacementFile::openFolder() {
    wxCharBuffer const name = toFileName(m_folderPath);
    m_folder = Descriptor(open(name, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!m_folder.isOpen())
        fail("open");
}

void ReplacementFile::lookAtOldFile() {
    wxCharBuffer const name = toFileName(m_name);
    struct stat old = {};
    bool const isThere = fstatat(m_folder.get(), name, &old, AT_SYMLINK_NOFOLLOW) == 0;
    if (!isThere && errno != ENOENT)
        fail("fstatat");
    // Those of a stranger's file could open the new one to the stranger.
    if (isThere && S_ISREG(old.st_mode) && old.st_uid == geteuid())
        m_oldPermissions = old.st_mode & kPermissions;
}

void ReplacementFile::create(mode_t mode) {
    bool const isLocked = flock(m_folder.get(), LOCK_EX | LOCK_NB) == 0;
    if (isLocked)
        unlinkat(m_folder.get(), kUsualName, 0);
    if (!(isLocked && createAs(kUsualName, mode)) && !createAs(makeTemporaryName(m_action), mode))
        fail("open");
}

bool ReplacementFile::createAs(std::string const& name, mode_t mode) {
    m_file = Descriptor(openat(m_folder.get(), name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
    if (m_file.isOpen())
        m_temporaryName = name;
    return m_file.isOpen();
}

void ReplacementFile::write(std::string const& content) {
    std::size_t done = 0;
    while (done < content.size()) {
        ssize_t const written = writeQuietly(m_file.get(), content.data() + done, content.size() - done);
        if (written == -1)
            fail("write");
        done += static_cast<std::size_t>(written);
    }
}

void ReplacementFile::takePlace() {
    takePermissions();
    finishFile();
    rename();
    flushFolder();
}

void ReplacementFile::takePermissions() {
    if (m_oldPermissions && fchmod(m_file.get(), *m_oldPermissions) != 0)
        fail("fchmod");
}

void ReplacementFile::finishFile() {
    if (uninterrupted([&] { return fsync(m_file.get()); }) != 0)
        fail("fsync");
    // An interrupted close has closed the file nevertheless.
    if (close(m_file.release()) != 0 && errno != EINTR)
        fail("close");
}

void ReplacementFile::rename() {
    wxCharBuffer const name = toFileName(m_name);
    if (renameat(m_folder.get(), m_temporaryName.c_str(), m_folder.get(), name) != 0)
        fail("rename");
    m_temporaryName.clear();
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
