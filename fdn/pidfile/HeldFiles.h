#pragma once

#include <fdn/system/Descriptor.h>
#include <fdn/system/FileId.h>

#include <mutex>

namespace fdn {

// The files on which this process keeps a POSIX lock. The process loses such a lock as soon as it closes any
// descriptor of the file (POSIX fcntl), so nothing here may open one of them and close it again. A forked
// process inherits no locks, so it holds none of these files.

/// Keeps the other threads of this process from locking PID files and from looking at them, for as long as
/// the object lives: the system does not show a process its own locks. Blocks while another thread has one.
/// fork() waits for it.
class HeldFilesGuard {
public:
    HeldFilesGuard();

private:
    std::lock_guard<std::mutex> m_lock;
};

// Callers of these need a guard.

/// Whether this process holds the file.
bool isHeldHere(FileId const& file);

/// Remembers a file that this process has locked.
void addHeldFile(FileId const& file);

/// Forgets the file, if it is one of them, and closes the descriptors that were kept open for it. That gives
/// up the lock.
void removeHeldFile(FileId const& file);

/// Takes over a descriptor of a held file, to close it only when the file is forgotten.
void keepOpen(FileId const& file, Descriptor descriptor);

} // namespace fdn
