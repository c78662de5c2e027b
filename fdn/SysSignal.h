#pragma once

#include <csignal>

namespace fdn {

/// The signals that a program may handle, with the system's numbers (POSIX signal.h).
enum class SysSignal : int {
    Hangup = SIGHUP,
    Interrupt = SIGINT,
    Quit = SIGQUIT,
    User1 = SIGUSR1,
    User2 = SIGUSR2,
    Terminate = SIGTERM
};

static_assert(static_cast<int>(SysSignal::Terminate) == 15, "the usual request to end a process");

} // namespace fdn
