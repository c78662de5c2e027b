#pragma once

namespace fdn {

/// How a started program relates to the process that starts it.
enum class ForkExecLevel : int {
    /// A child in the caller's session and process group. The caller must wait for it (POSIX waitpid).
    Child = 0,

    /// A child in a session and process group of its own, without a controlling terminal (POSIX setsid).
    /// The caller must wait for it.
    Session = 1,

    /// No child of the caller: a process in a session of its own that it does not lead, so that it can never
    /// acquire a controlling terminal either. Its parent is the system's first process, which waits for it,
    /// so the caller may end at once. Its standard streams are /dev/null unless a connection is given.
    Detached = 2
};

} // namespace fdn
