#pragma once

#include <fdn/LaunchPlan.h>

namespace fdn {

/// Makes the calling process, which is fresh from vfork() or _Fork() with every signal blocked, the program
/// of the plan. Reports what the starter must know and ends the process when a step fails. Only
/// async-signal-safe calls are made (POSIX.1-2017, 2.4.3): the process whose memory it uses may have other
/// threads, which hold locks and go on meanwhile.
[[noreturn]] void becomeProgram(LaunchPlan const& plan) noexcept;

} // namespace fdn
