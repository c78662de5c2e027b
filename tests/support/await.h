#pragma once

#include <functional>

#include <sys/types.h>

namespace test {

/// Waits until the condition holds, for 30 seconds at most. Returns whether it came to hold.
bool await(std::function<bool()> const& condition);

/// Waits until this thread of the process sleeps, as one that waits for a lock does, or has ended.
bool awaitSleep(pid_t thread);

} // namespace test
