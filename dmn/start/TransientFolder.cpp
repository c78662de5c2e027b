#include <dmn/start/TransientFolder.h>

#include <fdn/CFileRef.h>
#include <fdn/COnDemandFileInfo.h>
#include <fdn/CSystemPaths.h>
#include <fdn/files.h>
#include <fdn/sysError.h>
#include <fdn/system/Descriptor.h>

#include <cerrno>
#include <cstdint>
#include <string>

#include <fcntl.h>
#include <linux/fs.h>
#include <stdio.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace dmn {

namespace {

constexpr char kAction[] = "CDaemonController::start";

// The same for every daemon, so that one which a killed process leaves behind is not the first of many. The
// lock of the folder above keeps two processes from using it at once.
constexpr char kUsualName[] = ".transient-folder.new";

// For those who do not get the lock. Not derived from the application ID, which may be as long as a name can
// be.
fdn::String makeTemporaryName() {
    std::uint64_t number = 0;
    if (getentropy(&number, sizeof number) != 0)
        fdn::throwLastSysError("getentropy", kAction);
    return fdn::String("." + std::to_string(number) + ".tmp");
}

// The owner gets everything, the group may look and enter, others get nothing; set-ID and sticky bits stay.
unsigned toTransientFolderMode(unsigned mode) {
    return (mode & ~027U) | 0750U;
}

// By number, because older C libraries lack it. Neither every kernel nor every file system knows how to
// replace nothing; there an empty folder would be replaced that another process makes in this moment.
int renameToFreeName(char const* from, char const* to) {
    long const result = syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE);
    if (result != 0 && (errno == EINVAL || errno == ENOSYS))
        return rename(from, to);
    return static_cast<int>(result);
}

/// A folder with a temporary name, under which it is removed if it never gets its own.
class UnfinishedFolder {
public:
    explicit UnfinishedFolder(fdn::Path const& target)
        : m_target(target), m_parent(target.getText().BeforeLast('/')) {
        fdn::ensureFolderExists(m_parent, 0777);
        m_lock = fdn::Descriptor(open(fdn::toFileName(m_parent), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        create();
    }

    UnfinishedFolder(UnfinishedFolder const&) = delete;
    UnfinishedFolder& operator=(UnfinishedFolder const&) = delete;

    ~UnfinishedFolder() {
        if (m_isThere)
            rmdir(fdn::toFileName(m_path));
        // Closing it would not do, where a forked process has it, too.
        flock(m_lock.get(), LOCK_UN);
    }

    void giveTo(FolderOwner const& owner) const {
        fdn::CFileRef file(m_path);
        file.setUnixMode(toTransientFolderMode(fdn::COnDemandFileInfo(m_path, false).getUnixMode()));
        file.setUnixOwnerAndGroup(owner.uid, owner.gid, false);
    }

    // Succeeds also where another process has made it meanwhile.
    void takeName() {
        m_isThere = renameToFreeName(fdn::toFileName(m_path), fdn::toFileName(m_target)) != 0;
        int const error = errno;
        if (m_isThere && !fdn::folderExists(m_target))
            fdn::throwSysError(error,
                               {{"func", "rename"}, {"action", kAction}, {"path", m_target.getText()}});
    }

private:
    void create() {
        bool const isLocked = flock(m_lock.get(), LOCK_EX | LOCK_NB) == 0;
        if (isLocked)
            rmdir(fdn::toFileName(m_parent << fdn::Path(kUsualName)));
        if (!(isLocked && createAs(kUsualName)) && !createAs(makeTemporaryName()))
            fdn::throwLastSysError("mkdir", kAction, m_target);
    }

    bool createAs(fdn::String const& name) {
        m_path = m_parent << fdn::Path(name);
        m_isThere = mkdir(fdn::toFileName(m_path), 0777) == 0;
        return m_isThere;
    }

    fdn::Path m_target;
    fdn::Path m_parent;
    fdn::Descriptor m_lock;
    fdn::Path m_path;
    bool m_isThere = false;
};

} // namespace

fdn::Path getTransientFolder(fdn::String const& appID) {
    return fdn::CSystemPaths(appID).getSharedAppTransientFolder(false);
}

void makeTransientFolder(fdn::String const& appID, FolderOwner const& owner) {
    UnfinishedFolder folder(getTransientFolder(appID));
    folder.giveTo(owner);
    folder.takeName();
}

} // namespace dmn
