#pragma once

#include <fdn/CBase.h>
#include <fdn/Path.h>

#include <memory>

namespace fdn {

/// A PID file: for as long as the object lives, the file says that this process is the one that does the
/// file's job, and no other process can say so (FHS 3.0, 3.15: where such files are, and that they begin
/// with the process identifier in decimal on a line of its own).
///
/// The second line tells the process from a later one with the same number: when it was started and at
/// which boot of the machine. It is missing where there is no /proc. The file can be read by everybody, and
/// at any moment it is whole or not there. One that was left behind by a process that is gone is replaced.
class FDN_EXPORT CPIDFile : public CBase {
public:
    /// Claims the file for this process. Of any number of processes that do so at once, one gets it, and
    /// the others a CError that says "The PID file 'PATH' is held by process N.". After any error the file
    /// and its folder are as they were.
    ///
    /// The folder must exist, and this process must be allowed to read and to change it. The folder is
    /// locked meanwhile (flock); where another program keeps that lock, which everyone can who may read the
    /// folder, a CError that names the folder is thrown after five seconds.
    explicit CPIDFile(Path const& path);

    CPIDFile(CPIDFile const&) = delete;
    CPIDFile& operator=(CPIDFile const&) = delete;

    /// Gives the file up: deletes it if it is still the one that this object has made, in the same process.
    /// Like the constructor it may wait for the folder's lock, but then deletes the file without. Where the
    /// file cannot be deleted, the log says so; nobody takes it for that of a living process.
    ~CPIDFile() override;

    /// The process that holds the file, or 0 when none does: when there is no file, when the process is
    /// gone (also when it is a zombie), and when the file is not to be believed. A process holds its file
    /// also when it may not be signalled.
    ///
    /// A file is believed when it is a regular file with this one name, no link, at most 4096 bytes long,
    /// begins with a decimal number from 1 on a line of its own, and has either no second line or the one
    /// of that process. When it belongs to any user but root, that user must be one who may signal that
    /// process (POSIX kill), too: otherwise an account could make root signal the process of another one by
    /// writing its number into the account's own file. A process of root's that has become the user by
    /// seteuid() alone, to become root again, is none.
    ///
    /// Throws CError when the system cannot tell, such as for a file that may not be read. Never waits.
    static int getActivePID(Path const& path);

private:
    class CClaim;
    std::unique_ptr<CClaim> m_claim;
};

} // namespace fdn
