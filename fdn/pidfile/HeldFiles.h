#pragma once

#include <fdn/system/Descriptor.h>
#include <fdn/system/FileId.h>

#include <mutex>

namespace fdn {

// The files on which this process keeps a POSIX lock. Such a lock is lost as soon as the process closes any
// descriptor of the file (POSIX fcntl), so nothing here may open and close one of them. A forked process has
// no lock, and holds none of them.

/// Keeps the other threads of the process from locking or looking at files, for as long as the object lives:
/// among themselves the threads of a process do not notice its locks.
class HeldFilesGuard {
public:
    HeldFilesGuard();

private:
    std::lock_guard<std::mutex> m_lock;
};

// Each of these needs a guard.

bool isHeldHere(FileId const& file);

void addHeldFile(FileId const& file);

/// Closes the descriptors that were kept open for it, too.
void removeHeldFile(FileId const& file);

/// Takes over a descriptor of a held file, which must not be closed before.
void keepOpen(FileId const& file, Descriptor descriptor);

} // namespace fdn
