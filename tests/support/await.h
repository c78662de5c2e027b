#pragma once

#include <functional>

#include <sys/types.h>

namespace test {

/// Waits until the condition holds, for 30 seconds at most. Returns whether it holds.
bool await(std::function<bool()> const& condition);

/// Waits, for 30 seconds at most, until this process or thread sleeps, as one that waits for a lock does, or
/// has ended. Returns whether that came true.
bool awaitSleep(pid_t thread);

} // namespace test
