#pragma once

#include <atomic>
#include <functional>
#include <thread>

#include <sys/types.h>

namespace test {

/// Makes a call on a thread of its own, so that a test can see whether the call blocks. The destructor joins
/// the thread, so let the call return before it runs.
class BackgroundCall {
public:
    explicit BackgroundCall(std::function<void()> const& action);
    BackgroundCall(BackgroundCall const&) = delete;
    BackgroundCall& operator=(BackgroundCall const&) = delete;
    ~BackgroundCall();

    /// Waits until the call sleeps, on a mutex for example, or has returned. Returns whether it is still
    /// going on.
    bool getsBlocked() const;

private:
    std::atomic<pid_t> m_id{0};
    std::atomic<bool> m_returned{false};
    std::thread m_thread;
};

} // namespace test
