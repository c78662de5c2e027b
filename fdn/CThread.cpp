#include <fdn/CThread.h>

#include <cerrno>

#include <time.h>

namespace fdn {

namespace {

constexpr long kNanosecondsPerSecond = 1000L * 1000 * 1000;
constexpr long kNanosecondsPerMillisecond = 1000L * 1000;

// Sleeps until a point in time. Resuming for what is left after each signal would round up each time, so that
// a storm of signals could keep the sleep from ever ending.
void sleepFor(long seconds, long nanoseconds) {
    timespec end = {};
    clock_gettime(CLOCK_MONOTONIC, &end);
    end.tv_sec += seconds;
    end.tv_nsec += nanoseconds;
    if (end.tv_nsec >= kNanosecondsPerSecond) {
        ++end.tv_sec;
        end.tv_nsec -= kNanosecondsPerSecond;
    }
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {
    }
}

} // namespace

void CThread::sleep(unsigned milliseconds) {
    sleepFor(static_cast<long>(milliseconds / 1000),
             static_cast<long>(milliseconds % 1000) * kNanosecondsPerMillisecond);
}

} // namespace fdn
