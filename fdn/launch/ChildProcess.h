#pragma once

#include <fdn/launch/LaunchPlan.h>

namespace fdn {

/// Carries out the plan in the calling process, which is fresh from vfork() or _Fork() and has every signal
/// blocked: it becomes the program, or stands between the starter and a process that does. Writes
/// LaunchReports for the starter, and ends the process when a step fails.
///
/// Makes only async-signal-safe calls (POSIX.1-2017, 2.4.3), because other threads of the starter may have
/// held locks at the fork; after vfork() they even go on running in the same memory.
[[noreturn]] void performPlan(LaunchPlan const& plan) noexcept;

} // namespace fdn
