#pragma once

#include <algorithm>
#include <chrono>

namespace fdn {

/// A point in time until which to wait, whatever happens to the system's clock.
using Deadline = std::chrono::steady_clock::time_point;

/// The time until then in milliseconds, as poll() takes it: rounded up, and 0 once it has passed. The
/// deadline must be within poll()'s reach, about 24 days.
inline int getMillisecondsUntil(Deadline deadline) {
    auto const rest =
        std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    return static_cast<int>(std::max(rest, std::chrono::milliseconds(0)).count());
}

} // namespace fdn
