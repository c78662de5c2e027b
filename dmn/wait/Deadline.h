#pragma once

#include <fdn/String.h>

#include <chrono>

namespace dmn {

/// A point in time until which somebody waits, by a clock that nobody sets (POSIX CLOCK_MONOTONIC).
class Deadline {
public:
    /// So many milliseconds from now on; 0 or less has passed already.
    explicit Deadline(int timeoutMs);

    /// The milliseconds that are left, rounded up; 0 once it has passed.
    int getRestMs() const;

    bool hasPassed() const { return getRestMs() == 0; }

private:
    std::chrono::steady_clock::time_point m_end;
};

/// A time for people: "60 seconds", "1 second", "250 milliseconds". A negative one counts as 0.
fdn::String describeDuration(int milliseconds);

} // namespace dmn
