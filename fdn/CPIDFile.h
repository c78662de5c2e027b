#pragma once

#include <fdn/CBase.h>
#include <fdn/Path.h>

#include <memory>

namespace fdn {

class PIDFileClaim;

/// A PID file: for as long as the object lives, the file says that this process is the one that does the
/// file's job, and no other process can say so (FHS 3.0, 3.15: where such files are, and that they begin
/// with the process identifier in decimal on a line of its own).
///
/// The process keeps a lock on the file (POSIX fcntl, a write lock), which the kernel takes away when the
/// process ends. The lock is seen without /proc and from other PID name spaces. The process loses it, too,
/// when it closes any descriptor of the file, as a program does that closes all descriptors, or that opens
/// and closes its own PID file. The second line then still tells the process from a later one with the same
/// number: when it was started, and at which boot of the machine. That line is missing where there is no
/// /proc.
///
/// The file can be read by everybody, and at any moment it is whole or not there. One that was left behind by
/// a process that is gone is replaced.
class FDN_EXPORT CPIDFile : public CBase {
public:
    /// Claims the file for this process. Of any number of processes that do so at once, one gets it, and
    /// the others a CError that says "The PID file 'PATH' is held by process N.". A CError is also thrown
    /// when it cannot be told whether a process holds the file, or which one: an alive process counts as the
    /// holder when its identity cannot be read. A process that has held the file and then became another
    /// program (POSIX exec) gets it again. After any error the file is as it was, and nothing is added to its
    /// folder.
    ///
    /// The folder must exist, and this process must be allowed to change it. Meanwhile an unfinished file,
    /// ".pid-file.new", keeps other claims in the folder waiting. Nobody but this account can open or lock
    /// it. One that another account keeps there is deleted after a second; when that does not help, a CError
    /// is thrown after five.
    explicit CPIDFile(Path const& path);

    CPIDFile(CPIDFile const&) = delete;
    CPIDFile& operator=(CPIDFile const&) = delete;

    /// Gives the file up: deletes it if it is still the one that this object has made, in the same process.
    /// Where the file cannot be deleted, the log says so; nobody takes it for that of a living process.
    ~CPIDFile() override;

    /// The process that holds the file, or 0 when none does: when there is no file, when the process is
    /// gone (also when it is a zombie), and when the file is not to be believed. A process holds its file
    /// also when it may not be signalled.
    ///
    /// A file is held by the process that keeps a write lock on it. Without a lock, it is held by the process
    /// of which it tells: a regular file, no link, at most 4096 bytes long, begins with a decimal number from
    /// 1 on a line of its own, and has either no second line or the one of that process.
    ///
    /// The answer is for signalling, which others must not be able to misuse: an account could make root
    /// signal the process of another one by writing its number into the account's own file. So a file that
    /// belongs to any user but root is believed about processes alone that this user may signal, too (POSIX
    /// kill). A process of root's that has become the user by seteuid() alone, to become root again, is
    /// none. On a file system that a user's program provides (FUSE), every file belongs to that user. A file
    /// with a second name is believed in its owner's folder, root's only where nobody else may write to it.
    /// What cannot be opened at once, such as a file with a lease, is not believed.
    ///
    /// What is not believed may keep a claim from succeeding all the same, when it tells of a living process
    /// in full; a number alone, without a lock, does not.
    ///
    /// Throws CError when it is certain, or possible, that a process holds the file, but not which one that
    /// is and that it may be signalled: the message says why. Also when the system cannot tell, such as for a
    /// file that may not be read. Never waits, unless the file system does; root waits for a second at most
    /// where users have mounted file systems of their own.
    static int getActivePID(Path const& path);

private:
    std::unique_ptr<PIDFileClaim> m_claim;
};

} // namespace fdn
