#pragma once

#include <fdn/Export.h>
#include <fdn/threadYield.h>

namespace fdn {

/// What the library needs of threads beyond the C++ standard library. It has no objects.
class FDN_EXPORT CThread {
public:
    /// Blocks the calling thread for that many milliseconds. Signals neither shorten nor prolong this,
    /// however many come. A time that the machine spends suspended does not count (CLOCK_MONOTONIC).
    static void sleep(unsigned milliseconds);
};

} // namespace fdn
