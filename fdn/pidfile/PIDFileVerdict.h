#pragma once

#include <fdn/pidfile/PIDFileLook.h>

#include <functional>

namespace fdn {

/// What a PID file means for those who want to claim it, or to signal its process.
enum class Standing {
    Free,       ///< nobody holds it: it may be claimed
    Held,       ///< the process holds it and may be signalled by what the file says
    NotTrusted, ///< it may be held, but its writer may not signal the process, so it justifies no signal
    Unclear     ///< it is or may be held, but whether or by whom is unknown
};

struct PIDFileVerdict {
    Standing standing = Standing::Free;
    pid_t process = 0; ///< 0 when nobody holds it, or nobody knows who
    String reason;     ///< why it is unclear, for people; else empty
};

/// Judges what was seen of a PID file. Whoever keeps it locked holds it. Without a lock, because the process
/// has lost it or the file system knows none, the process that the file describes holds it. If the file was
/// deleted or the process has ended meanwhile, the verdict is that of a later look, `lookAgain`. `path` is
/// for the reason. Throws CError when the system cannot tell about a process.
PIDFileVerdict judgePIDFile(PIDFileLook const& look, std::function<PIDFileLook()> const& lookAgain,
                            Path const& path);

} // namespace fdn
