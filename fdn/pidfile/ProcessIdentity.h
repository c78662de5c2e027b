#pragma once

#include <optional>
#include <string>

#include <sys/types.h>

namespace fdn {

// Each throws CError when the system cannot tell, such as for lack of descriptors or memory. A process may be
// alive and yet hidden in /proc, or /proc may not be there at all: then the answers are empty.

/// Whether there is a process of this number, which must be 1 or more. A zombie counts as gone, a process
/// that may not be signalled as alive. The number of a thread other than a process's first is none.
bool isProcessAlive(pid_t process);

/// A line that tells the process from all others that have had its number: when it was started, and at
/// which boot of the machine.
std::string getProcessIdentity(pid_t process);

/// Whether the process is the one of which such a line tells.
std::optional<bool> hasIdentity(pid_t process, std::string const& identity);

/// Whether the user's own processes may signal the process (POSIX kill): it was started by the user, or has
/// the user's rights for good.
std::optional<bool> mayBeSignalledBy(uid_t user, pid_t process);

} // namespace fdn
