#include <fdn/CTime.h>

#include <chrono>

namespace fdn {

namespace {

template <class Clock>
std::int64_t microsecondsOf() {
    return std::chrono::duration_cast<std::chrono::microseconds>(Clock::now().time_since_epoch()).count();
}

} // namespace

CTime CTime::now() {
    // The steady clock (CLOCK_MONOTONIC) counts from no date, so the system's clock is asked for one, once.
    static std::int64_t const offset =
        microsecondsOf<std::chrono::system_clock>() - microsecondsOf<std::chrono::steady_clock>();
    return CTime(microsecondsOf<std::chrono::steady_clock>() + offset);
}

} // namespace fdn
