#pragma once

#include <fdn/Path.h>
#include <fdn/pidfile/PIDFileLook.h>
#include <fdn/system/Descriptor.h>
#include <fdn/system/FileId.h>

#include <chrono>

#include <sys/stat.h>
#include <sys/types.h>

namespace fdn {

/// One process's claim on a PID file, from before the file is there until it is deleted.
///
/// The file is made under a name for unfinished ones, where nobody else can open it, and locked at once.
/// Whoever has the unfinished file is the only one in that folder who may check whether the PID file is held,
/// write the record, and rename the file into place. The lock stays until the claim is given up. The steps
/// have the same names in tests/model/claim.pml, which shows that there are never two holders.
///
/// The file is remembered as a name in an open folder, because the process may change its current folder.
class PIDFileClaim {
public:
    /// Claims the file, or throws CError and leaves everything as it was. Blocks for as long as CPIDFile
    /// says.
    explicit PIDFileClaim(Path const& path);

    PIDFileClaim(PIDFileClaim const&) = delete;
    PIDFileClaim& operator=(PIDFileClaim const&) = delete;

    /// Deletes the file if it is still the claimed one, and logs when that fails. Does nothing in a forked
    /// process, which has inherited the object but not the claim.
    ~PIDFileClaim();

private:
    using Clock = std::chrono::steady_clock;

    void openFolder();
    void awaitTurn();
    bool createUnfinished();
    void refuseWhenHeld() const;
    bool clearUnfinished(Clock::duration waited) const;
    Descriptor openOwn(struct stat const& info) const;
    bool isNobodys(Descriptor const& file, struct stat const& info, Clock::duration waited) const;
    void writeRecord() const;
    void takePlace() const;
    void removeUnfinished() const noexcept;
    void giveUp();
    void reopenFolderWhenLost();
    bool isStillOwn() const;
    void forget() noexcept;
    [[noreturn]] void fail(int error, char const* func) const;

    Path m_path; // for people
    FilePlace m_place;
    pid_t m_process;
    Descriptor m_folder;
    FileId m_folderId;
    Descriptor m_file; // keeps the lock
    FileId m_fileId;
};

} // namespace fdn
