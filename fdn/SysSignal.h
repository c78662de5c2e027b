#pragma once

#include <csignal>

namespace fdn {

/// The signals that a program may handle, with the system's numbers (POSIX signal.h).
enum class SysSignal : int {
    Hangup = SIGHUP,    ///< the terminal is gone; by custom a daemon's order to read its settings again
    Interrupt = SIGINT, ///< the terminal's interrupt key
    Quit = SIGQUIT,     ///< the terminal's quit key
    User1 = SIGUSR1,    ///< free for the program, as is the next one
    User2 = SIGUSR2,
    Terminate = SIGTERM ///< the usual request to end
};

static_assert(static_cast<int>(SysSignal::Terminate) == 15, "the number is part of the interface");

} // namespace fdn
