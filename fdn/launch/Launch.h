#pragma once

#include <fdn/launch/LaunchRequest.h>
#include <fdn/launch/StandardStreams.h>

#include <optional>

#include <sys/types.h>

namespace fdn {

/// Starts the program with the given standard streams, and closes the process's ends of them in the caller.
/// Returns the process's identifier once the program runs; when the request has `endReport`, that of the
/// process in between, a child of the caller that ends once it has written how the program ended. Throws as
/// forkAndExec() does.
pid_t launch(LaunchRequest const& request, StandardStreams& streams);

/// Waits for a child of this process to end, and returns its state (POSIX waitpid). Returns nothing when that
/// cannot be known: it is no child, or another thread or the system itself has waited for it.
std::optional<int> reap(pid_t process);

} // namespace fdn
