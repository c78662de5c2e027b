#pragma once

#include <fdn/launch/LaunchPlan.h>
#include <fdn/launch/StandardStreams.h>

#include <optional>

namespace fdn {

/// Starts the program with the given standard streams, and closes the ends of them that the process got.
/// Returns the process's identifier once the program runs, but where the request asks for the program's end,
/// that of the child in between, which ends once it has told that end; see forkAndExec() for what it throws.
pid_t launch(LaunchRequest const& request, StandardStreams& streams);

/// Waits for a child of this process to end, and returns how it did (POSIX waitpid), or nothing where that
/// cannot be known: the process is no child, or the system, or another thread, has waited for it.
std::optional<int> reap(pid_t process);

} // namespace fdn
