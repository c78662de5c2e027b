#pragma once

#include <fdn/LaunchPlan.h>
#include <fdn/StandardStreams.h>

namespace fdn {

/// Starts the program with the given standard streams, and closes the ends of them that the process got.
/// Returns the process's identifier once the program runs; see forkAndExec() for what it throws.
pid_t launch(LaunchRequest const& request, StandardStreams& streams);

/// Waits for a child of this process to end, and returns how it did (POSIX waitpid). Returns 0 at once for a
/// process that is no child, and 0 for one that the system has forgotten already, as it does where SIGCHLD is
/// ignored.
int reap(pid_t process);

} // namespace fdn
