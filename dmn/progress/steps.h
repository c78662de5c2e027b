#pragma once

#include <fdn/String.h>

namespace dmn {

// What the library itself tells about a run before the daemon is ready.

inline constexpr char kClaiming[] = "Claiming the PID file";
inline constexpr char kInitializing[] = "Initializing";

inline fdn::String describeStepsDone(int count) {
    return fdn::String::Format("%s: %d %s done", kInitializing, count, count == 1 ? "step" : "steps");
}

/// Whether it is such a text. It tells how far a daemon has come, never why it has failed.
inline bool isOwnStep(fdn::String const& text) {
    return text == kClaiming || text == kInitializing ||
           text.Matches(fdn::String(kInitializing) + ": * step* done");
}

} // namespace dmn
