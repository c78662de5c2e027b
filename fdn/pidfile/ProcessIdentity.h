#pragma once

#include <optional>
#include <string>

#include <sys/types.h>

namespace fdn {

// Each of these throws CError when the system cannot tell, for lack of descriptors or memory, for example. An
// empty answer means that /proc is missing, or does not show the process, which may be alive nevertheless.

/// Whether there is a process of this number, which must be 1 or more. A zombie counts as gone, a process
/// that may not be signalled as alive. The number of a thread, unless it is its process's own, counts as
/// gone.
bool isProcessAlive(pid_t process);

/// A line that distinguishes the process from all others that have had its number: when it was started, in
/// clock ticks since the boot, and the identifier of that boot.
std::string getProcessIdentity(pid_t process);

/// Whether such a line is the process's own. Returns nothing also when they disagree only because the process
/// counts time in another namespace.
std::optional<bool> hasIdentity(pid_t process, std::string const& identity);

/// Whether the user's own processes may signal the process (POSIX kill): its real or saved user is this one.
std::optional<bool> mayBeSignalledBy(uid_t user, pid_t process);

} // namespace fdn
