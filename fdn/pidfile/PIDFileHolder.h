#pragma once

#include <fdn/pidfile/PIDFileLook.h>

namespace fdn {

/// What a PID file means for those who want to claim it, or to signal its process.
enum class Standing {
    Free,       ///< nobody holds it: it may be claimed
    Held,       ///< the process holds it and may be signalled by what the file says
    NotTrusted, ///< it may be held, but whoever wrote it may not signal the process, so it is no reason to
    Unclear     ///< it is or may be held, and it cannot be told whether, or by whom
};

struct PIDFileHolder {
    Standing standing = Standing::Free;
    pid_t process = 0; ///< 0 when nobody holds it, or nobody knows who
    String reason;     ///< why it is unclear, for people; else empty
};

/// Judges what was seen of a PID file. Whoever keeps it locked holds it. Without a lock, because the process
/// has lost it or the file system knows none, the process holds it that the file describes. `path` is for the
/// reason. Throws CError when the system cannot tell about a process.
PIDFileHolder findHolder(PIDFileLook const& look, Path const& path);

} // namespace fdn
