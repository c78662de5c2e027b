#pragma once

#include <fdn/Export.h>

namespace fdn {

/// Gives up the processor for a moment. Sleeps for about a tenth of a millisecond with
/// `letLowerPrioritiesRun`, because only a thread that sleeps lets those of lower priority run: wait with it
/// for what another thread, whatever its priority, is about to do. Without it, only threads of the same
/// priority get their turn (POSIX sched_yield). Any thread may call it; errno stays as it is.
FDN_EXPORT void threadYield(bool letLowerPrioritiesRun);

} // namespace fdn
