#pragma once

#include <fdn/Export.h>

namespace fdn {

/// What the library needs of threads beyond the C++ standard library. It has no objects.
class FDN_EXPORT CThread {
public:
    /// Blocks the calling thread for that many milliseconds. Signals neither shorten nor prolong this,
    /// however many come. A time that the machine spends suspended does not count (CLOCK_MONOTONIC).
    static void sleep(unsigned milliseconds);
};

/// Gives up the processor for the moment. With true the thread also stands back from threads of lower
/// priority, by sleeping for an instant, so that a thread which it waits for gets to run whatever its
/// priority.
FDN_EXPORT void threadYield(bool letLowerPrioritiesRun);

} // namespace fdn
