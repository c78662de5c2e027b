#pragma once

#include <fdn/CTime.h>
#include <fdn/Export.h>
#include <fdn/Path.h>
#include <fdn/String.h>

#include <cstdint>
#include <optional>

#include <sys/types.h>

namespace fdn {

/// What the system tells about a running process. What it does not tell keeps its default.
struct ProcessInfo {
    String account;                ///< the name of its effective user, or the number if it has no name
    Path executable;               ///< the program that it runs, with " (deleted)" after it once it is gone
    std::optional<CTime> started;  ///< when it began, by the system's clock
    std::uint64_t memoryBytes = 0; ///< its memory that is not swapped out (resident set)
};

/// Looks at a process in /proc. All of the answer is about one and the same process.
///
/// Returns nothing when there is no such process, when it has ended meanwhile, a zombie included, or when
/// this process may not see it. Throws CError when the system cannot tell, for lack of descriptors for
/// example. Blocks as long as the user database does. Any thread may call it.
FDN_EXPORT std::optional<ProcessInfo> getProcessInfo(pid_t process);

} // namespace fdn
