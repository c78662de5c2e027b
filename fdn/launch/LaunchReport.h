#pragma once

#include <sys/types.h>

namespace fdn {

/// The steps from a start to the running program, in the order in which they are made.
enum class LaunchStep : int {
    Fork,
    Session,
    Pipe,
    Streams,
    Group,
    SupplementaryGroups,
    User,
    Folder,
    Program,
    Done ///< no step: nothing more will be reported
};

/// What a new process tells its starter through a pipe. It reports each step before making it, so that the
/// starter knows which one hangs, and once more with the error when the step fails.
struct LaunchReport {
    LaunchStep step;
    pid_t process; ///< the one that reports
    int error;     ///< the system's error number, or 0
};

} // namespace fdn
