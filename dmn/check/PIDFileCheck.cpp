#include <dmn/check/PIDFileCheck.h>

#include <fdn/CError.h>
#include <fdn/CPIDFile.h>
#include <fdn/files.h>

#include <dmn/id/DaemonId.h>
#include <dmn/script/ShellWord.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace dmn {

namespace {

// Whether another process keeps the file locked. To be asked only when this process does not hold the file:
// it would lose its own lock.
bool isLocked(fdn::Path const& file) {
    int const descriptor = open(fdn::toFileName(file), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    if (descriptor == -1)
        return false;
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    bool const isAnothers = fcntl(descriptor, F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
    close(descriptor);
    return isAnothers;
}

Findings checkUnheldFile(fdn::Path const& file) {
    struct stat info = {};
    if (lstat(fdn::toFileName(file), &info) != 0)
        return {};
    if (S_ISDIR(info.st_mode))
        return {{"There is a folder in place of the PID file '" + file.getText() + "'.",
                 "rmdir " + quoteShellWord(file)}};
    if (S_ISREG(info.st_mode) && isLocked(file))
        return {
            {"The PID file '" + file.getText() + "' is locked by a process that it is not believed about.",
             "rm " + quoteShellWord(file)}};
    return {};
}

} // namespace

Findings checkPIDFile(fdn::String const& id, fdn::Path const& controlFolder) {
    fdn::Path const file = getPIDFilePath(controlFolder, id);
    if (fdn::isSilent(file))
        return {}; // as is its folder, which is the finding
    try {
        return fdn::CPIDFile::getActivePID(file) > 0 ? Findings{} : checkUnheldFile(file);
    } catch (fdn::CError const& error) {
        return {{error.getMessage(), ""}};
    }
}

} // namespace dmn
