#pragma once

#include <fdn/CBase.h>
#include <fdn/Path.h>

#include <memory>

namespace fdn {

class PIDFileClaim;

/// A PID file, held by this process for as long as the object lives: it tells all others which process does
/// the job that the file stands for, and keeps them from doing it too.
///
///     CPIDFile const file(Path("/run/app/app.pid")); // throws when another process holds it
///     work();
///
/// The first line is the process identifier in decimal, alone (FHS 3.0, 3.15). The second tells the process
/// from a later one with the same number: when it was started, and at which boot of the machine. That line is
/// missing where there is no /proc. Everybody may read the file. At any moment it is either whole or not
/// there.
///
/// The process also keeps a write lock on the file (POSIX fcntl), which the kernel takes away when the
/// process ends, and which can be seen without /proc and from other PID namespaces. A process loses the lock
/// when it closes any descriptor of the file, as a program does that closes all descriptors, or that opens
/// and closes its own PID file. Then the second line is what still counts.
///
/// Any thread may make, destroy and query PID files. A forked process inherits the object but does not hold
/// the file.
class FDN_EXPORT CPIDFile : public CBase {
public:
    /// Claims the file for this process; one that a dead process has left behind is replaced. Of any number
    /// of processes that do so at once, exactly one gets the file. A process that became another program
    /// while it held the file (POSIX exec) gets it again.
    ///
    /// Throws a CError that says "The PID file 'PATH' is held by process N." when another process holds it,
    /// and one that says why when it is unclear whether a process holds it, or which. A living process whose
    /// identity cannot be read therefore counts as the holder. Other CErrors come from the system, for
    /// example when the folder is missing or may not be changed. After any error the file is as it was, and
    /// nothing is added to its folder.
    ///
    /// Waits for other claims in the same folder, which are kept apart by an unfinished file,
    /// ".pid-file.new", that only this account can open or lock. If another account keeps such a file there,
    /// it is deleted after one second; if that does not help, a CError is thrown after five.
    explicit CPIDFile(Path const& path);

    CPIDFile(CPIDFile const&) = delete;
    CPIDFile& operator=(CPIDFile const&) = delete;

    /// Gives the file up: deletes it if it is still the one that this object made, and if this is the process
    /// that made it. A file that cannot be deleted is logged; it is harmless, because readers see that its
    /// process is gone.
    ~CPIDFile() override;

    /// The process that holds the file, for signalling it, or 0 when there is none: the file is missing, its
    /// process is gone or a zombie, or the file is not to be believed. A process that may not be signalled
    /// holds its file all the same. The holder may be this process itself.
    ///
    /// The holder is the process that keeps a write lock on the file. If there is no lock, it is the process
    /// that the file describes: a regular file, not a link, of at most 4096 bytes, whose first line is a
    /// decimal number of 1 or more and nothing else, and whose second line is missing or is that process's
    /// own.
    ///
    /// An account cannot use a file to make root signal a process that the account may not signal itself:
    ///
    /// - The file of any user but root is believed only about processes that this user may signal (kill(2)).
    ///   Those do not include a process of root's that has taken the user's rights by seteuid() alone, and
    ///   can become root again.
    /// - On a file system that a user's program provides (FUSE), every file counts as that user's.
    /// - A file with a second name is believed only in its owner's folder, and root's only where nobody else
    ///   may write to the folder.
    /// - A file that cannot be opened at once, such as one with a lease, is not believed.
    ///
    /// A file that is not believed may still make a claim fail when it describes a living process in full; a
    /// number alone, without a lock, does not.
    ///
    /// Throws a CError that says why when a process holds or may hold the file, but it is unknown which one,
    /// or whether it may be signalled; also when the system gives no answer, for example about a file that
    /// may not be read. Blocks only if the file system does. Root waits at most a second for a user's own
    /// file system and, while any user has one mounted, half a minute for every other one.
    static int getActivePID(Path const& path);

private:
    std::unique_ptr<PIDFileClaim> m_claim;
};

} // namespace fdn
