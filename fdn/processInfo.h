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
    Path executable;               ///< the program that it runs
    std::optional<CTime> started;  ///< when it began, by the system's clock
    std::uint64_t memoryBytes = 0; ///< its memory that is not swapped out (resident set)
};

/// Looks at a process in /proc. Returns nothing when there is no such process, or when this process may not
/// see it. Throws CError when the system cannot tell, for lack of descriptors for example.
FDN_EXPORT std::optional<ProcessInfo> getProcessInfo(pid_t process);

} // namespace fdn
