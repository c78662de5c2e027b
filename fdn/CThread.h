#pragma once

#include <fdn/Export.h>

namespace fdn {

/// What the library needs of threads beyond the C++ standard library.
class FDN_EXPORT CThread {
public:
    /// Blocks the calling thread for the given number of milliseconds. Signals neither shorten nor prolong
    /// that, however many come.
    static void sleep(unsigned milliseconds);
};

/// Gives up the processor for the moment. With true the thread also stands back from threads of lower
/// priority, by sleeping for an instant, so that a thread which it waits for gets to run whatever its
/// priority.
FDN_EXPORT void threadYield(bool letLowerPrioritiesRun);

} // namespace fdn
