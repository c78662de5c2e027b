#pragma once

#include <fdn/launch/LaunchOutcome.h>
#include <fdn/launch/LaunchRequest.h>

namespace fdn {

/// Throws the CError for a start that has not succeeded: it names the step that failed, the one that hangs
/// (ETIMEDOUT), or, when neither is known, says that the process was ended before it became the program.
[[noreturn]] void throwLaunchError(LaunchRequest const& request, LaunchOutcome const& outcome);

} // namespace fdn
