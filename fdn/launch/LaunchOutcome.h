#pragma once

#include <fdn/launch/LaunchReport.h>
#include <fdn/system/Descriptor.h>

#include <chrono>

namespace fdn {

/// How far a start has come.
struct LaunchOutcome {
    LaunchReport last = {LaunchStep::Fork, 0, 0}; ///< the last step that was begun, or has failed
    bool isComplete = false;                      ///< nothing more will be reported

    bool hasSucceeded() const { return isComplete && last.step == LaunchStep::Program && last.error == 0; }
};

/// Reads the reports of a start until they are complete, or for `longest`: a start that hangs leaves the
/// outcome incomplete.
LaunchOutcome awaitOutcome(Descriptor const& reports, std::chrono::milliseconds longest);

} // namespace fdn
