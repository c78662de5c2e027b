#include <fdn/system/NewFolder.h>

#include <fdn/CFileRef.h>
#include <fdn/COnDemandFileInfo.h>
#include <fdn/files.h>
#include <fdn/sysError.h>

#include <cerrno>

#include <fcntl.h>
#include <linux/fs.h>
#include <stdio.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace fdn {

namespace {

constexpr char kTemporaryName[] = ".folder.new";
constexpr unsigned kPermissions = S_IRWXU | S_IRWXG | S_IRWXO;

// By the system call's number, because older C libraries lack a function for it. Neither every kernel nor
// every file system can rename without replacing; there an empty folder is replaced that another process
// makes at this very moment.
int renameToFreeName(Descriptor const& folder, char const* from, char const* to) {
    long const result = syscall(SYS_renameat2, folder.get(), from, folder.get(), to, RENAME_NOREPLACE);
    if (result != 0 && (errno == EINVAL || errno == ENOSYS))
        return renameat(folder.get(), from, folder.get(), to);
    return static_cast<int>(result);
}

} // namespace

NewFolder::NewFolder(SplitPath const& place, char const* action)
    : m_place(place), m_action(action),
      m_parent(open(toFileName(place.folder), O_RDONLY | O_DIRECTORY | O_CLOEXEC)),
      m_temporaryName(m_parent, kTemporaryName, AT_REMOVEDIR) {
    if (!m_parent.isOpen())
        throwLastSysError("open", m_action, m_place.folder);
    create();
}

void NewFolder::create() {
    auto const make = [&](char const* name) { return mkdirat(m_parent.get(), name, 0777) == 0; };
    if (!m_temporaryName.take(make, m_action))
        throwLastSysError("mkdir", m_action, m_place.folder << m_place.name);
}

void NewFolder::giveTo(int mode, unsigned uid, unsigned gid) const {
    Path const path = m_place.folder << Path(String::fromBytes(m_temporaryName.get()));
    unsigned const inherited = COnDemandFileInfo(path, false).getUnixMode() & ~kPermissions;
    CFileRef const folder(path);
    folder.setUnixMode(inherited | (static_cast<unsigned>(mode) & kPermissions));
    folder.setUnixOwnerAndGroup(uid, gid, false);
}

void NewFolder::takeName() {
    wxCharBuffer const name = toFileName(m_place.name);
    int const error = renameToFreeName(m_parent, m_temporaryName.get().c_str(), name) == 0 ? 0 : errno;
    if (error == 0)
        m_temporaryName.forget();
    else if (!isFolderThere())
        throwSysError(
            error,
            {{"func", "rename"}, {"action", m_action}, {"path", (m_place.folder << m_place.name).getText()}});
}

// Links are followed, because a link to a folder serves as one.
bool NewFolder::isFolderThere() const {
    struct stat info = {};
    return fstatat(m_parent.get(), toFileName(m_place.name), &info, 0) == 0 && S_ISDIR(info.st_mode);
}

} // namespace fdn
