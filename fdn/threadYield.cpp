#include <fdn/threadYield.h>

#include <sched.h>
#include <time.h>

namespace fdn {

void threadYield(bool letLowerPrioritiesRun) {
    constexpr timespec kInstant = {0, 50'000};
    // A signal may cut the sleep short: whoever waits looks again and yields again. Unlike nanosleep, this
    // call leaves errno alone.
    if (letLowerPrioritiesRun)
        clock_nanosleep(CLOCK_MONOTONIC, 0, &kInstant, nullptr);
    else
        sched_yield();
}

} // namespace fdn
