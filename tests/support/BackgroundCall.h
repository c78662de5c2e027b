#pragma once

#include <atomic>
#include <functional>
#include <thread>

#include <sys/types.h>

namespace test {

/// A call on a thread of its own, to see whether it waits for something. The destructor waits for its end.
class BackgroundCall {
public:
    explicit BackgroundCall(std::function<void()> const& action);
    BackgroundCall(BackgroundCall const&) = delete;
    BackgroundCall& operator=(BackgroundCall const&) = delete;
    ~BackgroundCall();

    /// Waits until the call either is waiting for something, such as a mutex, or has returned. Returns
    /// whether it is waiting.
    bool getsBlocked() const;

private:
    std::atomic<pid_t> m_id{0};
    std::atomic<bool> m_returned{false};
    std::thread m_thread;
};

} // namespace test
