#pragma once

#include <fdn/String.h>

#include <optional>

#include <signal.h>

namespace dmn {

/// How a process has ended. Nobody but its parent can know.
class ProcessEnd {
public:
    /// An end of which nothing is known.
    ProcessEnd() = default;

    /// The end that the system has reported (POSIX waitid).
    explicit ProcessEnd(siginfo_t const& report);

    /// Whether it may have been a success: the status is 0 or not known.
    bool maySucceed() const;

    /// Whether the process has ended itself and reported a failure.
    bool reportsFailure() const;

    /// Words for people, which follow those for the process: "has ended with status 3.", "was ended by signal
    /// 11 (SIGSEGV)." or "has ended; how is not known."
    fdn::String describe() const;

private:
    std::optional<int> m_status; ///< unless a signal has ended it
    std::optional<int> m_signal;
};

} // namespace dmn
