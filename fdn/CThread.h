#pragma once

#include <fdn/Export.h>
#include <fdn/threadYield.h>

namespace fdn {

/// What the library needs from threads beyond the C++ standard library. The class has no objects.
class FDN_EXPORT CThread {
public:
    /// Blocks the calling thread for that many milliseconds. Signals neither shorten nor prolong this,
    /// however many come. Time that the machine spends suspended does not count (CLOCK_MONOTONIC).
    static void sleep(unsigned milliseconds);
};

} // namespace fdn
