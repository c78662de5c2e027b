#pragma once

#include <fdn/Export.h>

#include <cstdint>

namespace fdn {

/// A point in time, in microseconds since 1970-01-01 00:00 UTC.
class FDN_EXPORT CTime {
public:
    /// So many microseconds after the beginning of 1970, UTC.
    constexpr explicit CTime(std::int64_t microseconds) : m_microseconds(microseconds) {}

    /// The current time: what the system's clock said when the process first asked, plus the time that has
    /// passed since. It therefore never jumps, and setting the clock neither ends nor prolongs a wait that is
    /// computed with it. Any thread may call it.
    static CTime now();

    /// The microseconds since the beginning of 1970, UTC. Times are compared and computed with them.
    constexpr std::int64_t getMicroseconds() const { return m_microseconds; }

private:
    std::int64_t m_microseconds;
};

} // namespace fdn
