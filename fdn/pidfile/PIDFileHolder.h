#pragma once

#include <fdn/pidfile/PIDFileLook.h>

namespace fdn {

/// What a PID file means.
enum class Standing {
    Free,       ///< nobody holds it
    Held,       ///< the process holds it, and may be signalled by what the file says
    NotTrusted, ///< somebody who may not signal the process may have written its number, so nobody may be
    Unclear     ///< it may be held, and it cannot be told whether, or by whom
};

struct PIDFileHolder {
    Standing standing = Standing::Free;
    pid_t process = 0;
    String reason; ///< why it is unclear, for people
};

/// A process holds the file that it keeps locked. Where there is no lock, because the process has lost it or
/// the file system knows none, it holds the file that tells of it.
PIDFileHolder findHolder(PIDFileLook const& look, Path const& path);

} // namespace fdn
