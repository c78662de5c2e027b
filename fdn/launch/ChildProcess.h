#pragma once

#include <fdn/launch/LaunchPlan.h>

namespace fdn {

/// Performs the plan in the calling process, which is fresh from vfork() or _Fork() with every signal
/// blocked: it becomes the program, or makes another one that does. Reports what the starter must know, and
/// ends the process when a step fails. Only async-signal-safe calls are made (POSIX.1-2017, 2.4.3): the
/// process whose memory it uses may have other threads, which hold locks and go on meanwhile.
[[noreturn]] void perform(LaunchPlan const& plan) noexcept;

} // namespace fdn
