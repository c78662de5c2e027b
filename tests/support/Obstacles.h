#pragma once

#include <functional>
#include <string>

#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/types.h>

namespace test {

// These make the system refuse what it is asked to do, or throw std::system_error when they cannot. Those
// that take a folder work only inside a private root.

/// Makes a folder read-only while the object lives. The folder must be a mount point of the private root:
/// /etc, for example.
class ReadOnlyFolder {
public:
    explicit ReadOnlyFolder(std::string const& folder);
    ReadOnlyFolder(ReadOnlyFolder const&) = delete;
    ReadOnlyFolder& operator=(ReadOnlyFolder const&) = delete;
    ~ReadOnlyFolder();

private:
    std::string m_folder;
};

/// Mounts a file system over the folder that has no room for another byte, while the object lives. It holds
/// the file "full". Names can still be created in it.
class FullFolder {
public:
    explicit FullFolder(std::string const& folder);
    FullFolder(FullFolder const&) = delete;
    FullFolder& operator=(FullFolder const&) = delete;
    ~FullFolder();

private:
    std::string m_folder;
};

/// Mounts a program that only fails over /bin/sh while the object lives, so that no script can be run.
class BrokenShell {
public:
    BrokenShell();
    BrokenShell(BrokenShell const&) = delete;
    BrokenShell& operator=(BrokenShell const&) = delete;
    ~BrokenShell();
};

/// Mounts an empty file system over the folder from which nothing may be run, while the object lives.
class NoExecFolder {
public:
    explicit NoExecFolder(std::string const& folder);
    NoExecFolder(NoExecFolder const&) = delete;
    NoExecFolder& operator=(NoExecFolder const&) = delete;
    ~NoExecFolder();

private:
    std::string m_folder;
};

/// Forbids this process, and those that it starts, to make any file larger while the object lives
/// (RLIMIT_FSIZE of POSIX): a write that would do so fails with EFBIG or ends the process with SIGXFSZ.
class NoFileMayGrow {
public:
    NoFileMayGrow();
    NoFileMayGrow(NoFileMayGrow const&) = delete;
    NoFileMayGrow& operator=(NoFileMayGrow const&) = delete;
    ~NoFileMayGrow();

private:
    rlimit m_limit = {};
};

// The system calls that these functions make. Newer machines have only the calls that also take a folder. On
// old 32-bit machines, the calls of the usual names take account numbers of 16 bits.
#ifdef SYS_chmod
constexpr long kChmodCall = SYS_chmod;
constexpr long kUnlinkCall = SYS_unlink;
#else
constexpr long kChmodCall = SYS_fchmodat;
constexpr long kUnlinkCall = SYS_unlinkat;
#endif

#if defined SYS_lchown32
constexpr long kLchownCall = SYS_lchown32;
constexpr long kSetreuidCall = SYS_setreuid32;
#elif defined SYS_lchown
constexpr long kLchownCall = SYS_lchown;
constexpr long kSetreuidCall = SYS_setreuid;
#else
constexpr long kLchownCall = SYS_fchownat;
constexpr long kSetreuidCall = SYS_setreuid;
#endif

/// From now on, this system call fails with this error number in every thread of the process. That cannot be
/// undone, so use it only in children of a test.
void refuseSystemCall(long number, int error);

/// From now on, this system call ends the process with SIGSYS, which cannot be caught. Use it only in
/// children of a test.
void endAtSystemCall(long number);

/// Unmounts /proc for this process, a child of the test, and for those that it starts.
void removeProc();

/// Stops this process, a child of the test, until the test calls performBefore() for it.
void awaitPerformBefore();

/// Continues the child, performs the action just before the child makes this system call, and then lets the
/// child run freely. Throws std::runtime_error when the child ends without making the call.
void performBefore(long number, pid_t child, std::function<void()> const& action);

} // namespace test
