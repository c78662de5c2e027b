#pragma once

#include <functional>

namespace dmn {

/// Asks until the answer is not 0, every 50 ms, and returns that answer; returns 0 when the time-out passes
/// first. Asks at least once, whatever the time-out (in milliseconds; 0 or less has passed already). What
/// `ask` throws ends the wait. Blocks the calling thread.
int awaitAnswer(int timeoutMs, std::function<int()> const& ask);

} // namespace dmn
