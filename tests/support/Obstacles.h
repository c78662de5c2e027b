#pragma once

#include <functional>
#include <string>

#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/types.h>

namespace test {

// Ways in which the system refuses what it is asked for. Those on folders work inside a private root only.

/// A folder that is a mount point of the private root, such as /etc, read-only while the object lives.
class ReadOnlyFolder {
public:
    explicit ReadOnlyFolder(std::string const& folder);
    ReadOnlyFolder(ReadOnlyFolder const&) = delete;
    ReadOnlyFolder& operator=(ReadOnlyFolder const&) = delete;
    ~ReadOnlyFolder();

private:
    std::string m_folder;
};

/// A file system without room for another byte over the folder while the object lives; it holds the file
/// "full". Names can still be made in it.
class FullFolder {
public:
    explicit FullFolder(std::string const& folder);
    FullFolder(FullFolder const&) = delete;
    FullFolder& operator=(FullFolder const&) = delete;
    ~FullFolder();

private:
    std::string m_folder;
};

/// No file may be made larger by this process, or by those that it starts, while the object lives (POSIX
/// RLIMIT_FSIZE): a write that would is refused with EFBIG, or ends the process with SIGXFSZ.
class NoFileMayGrow {
public:
    NoFileMayGrow();
    NoFileMayGrow(NoFileMayGrow const&) = delete;
    NoFileMayGrow& operator=(NoFileMayGrow const&) = delete;
    ~NoFileMayGrow();

private:
    rlimit m_limit = {};
};

/// The system call by which chmod() changes a file's mode.
#ifdef SYS_chmod
constexpr long kChmodCall = SYS_chmod;
#else
constexpr long kChmodCall = SYS_fchmodat;
#endif

/// From now on the kernel refuses this system call to the process with the error number. Never to be undone,
/// so for children of a test only.
void refuseSystemCall(long number, int error);

/// From now on the kernel ends the process with SIGSYS, which cannot be caught, at this system call.
void endAtSystemCall(long number);

/// Halts this process, a child of the test, until the test calls performBefore() for it.
void awaitPerformBefore();

/// Performs the action just before the child makes this system call; then both go on. Throws
/// std::runtime_error when the child ends without it.
void performBefore(long number, pid_t child, std::function<void()> const& action);

} // namespace test
