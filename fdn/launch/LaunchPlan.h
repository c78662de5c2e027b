#pragma once

#include <array>
#include <cstddef>
#include <type_traits>

#include <sys/types.h>

namespace fdn {

/// Everything that a new process needs to become the program, computed before the fork: afterwards nothing
/// may be allocated, looked up or destroyed. It owns nothing; LaunchMaterial owns what it points to.
struct LaunchPlan {
    char const* program = nullptr;
    char* const* arguments = nullptr; ///< ends with null, as does the environment
    char* const* environment = nullptr;
    char const* folder = nullptr; ///< null: the caller's

    bool changesAccount = false; ///< otherwise the next four do not matter
    uid_t user = 0;
    gid_t group = 0;
    gid_t const* groups = nullptr;
    std::size_t groupCount = 0;

    bool startsSession = false;
    bool leavesParent = false;

    /// The descriptors that become 0, 1 and 2; -1 for the caller's. None of them is 0, 1 or 2 itself.
    std::array<int, 3> streams = {-1, -1, -1};
    int reports = -1;   ///< takes LaunchReports; closed when the program starts
    int endReport = -1; ///< as in the LaunchRequest

    /// Whether a process stands between the starter and the program: it makes the program an orphan, or waits
    /// for it.
    bool needsProcessBetween() const { return leavesParent || endReport != -1; }
};

static_assert(std::is_trivially_copyable_v<LaunchPlan> && std::is_trivially_destructible_v<LaunchPlan>,
              "nothing may run at its end in a forked process");

} // namespace fdn
