#pragma once

#include <fdn/Export.h>
#include <fdn/threadYield.h>

namespace fdn {

/// What the library needs of threads beyond the C++ standard library.
class FDN_EXPORT CThread {
public:
    /// Blocks the calling thread for the given number of milliseconds. Signals neither shorten nor prolong
    /// that, however many come.
    static void sleep(unsigned milliseconds);
};

} // namespace fdn
