#pragma once

#include <fdn/Export.h>

#include <cstdint>

namespace fdn {

/// A point in time, in microseconds since 1970-01-01 00:00 UTC. A plain value. To wait until a deadline:
///
///     std::int64_t const deadline = CTime::now().getMicroseconds() + 1000 * milliseconds;
///     while (!isDone() && CTime::now().getMicroseconds() < deadline)
///         CThread::sleep(50);
class FDN_EXPORT CTime {
public:
    /// The time that many microseconds after the beginning of 1970, UTC; negative for times before it.
    constexpr explicit CTime(std::int64_t microseconds) : m_microseconds(microseconds) {}

    /// The current time: what the system's clock said when the process first asked, plus the time that has
    /// passed since, without the time that the machine was suspended. It therefore never jumps, and setting
    /// the clock neither ends nor prolongs a wait that is computed with it; but it may differ from the clock.
    /// Any thread may call it.
    static CTime now();

    /// The microseconds since the beginning of 1970, UTC. Times are compared and computed with them.
    constexpr std::int64_t getMicroseconds() const { return m_microseconds; }

private:
    std::int64_t m_microseconds;
};

} // namespace fdn
