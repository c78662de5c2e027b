#include <dmn/CDaemonController.h>

#include <fdn/CError.h>
#include <fdn/sysError.h>

#include <cerrno>

#include <unistd.h>

namespace dmn {

CDaemonController::CMakeRoot::CMakeRoot() : m_effectiveUser(geteuid()) {
    // -1 leaves the real user alone (POSIX setreuid).
    if (setreuid(static_cast<uid_t>(-1), 0) == 0)
        return;
    if (errno == EPERM)
        throw fdn::CError("The process does not have the necessary root privileges for this operation.");
    fdn::throwLastSysError("setreuid", "CDaemonController::CMakeRoot constructor");
}

CDaemonController::CMakeRoot::~CMakeRoot() {
    // A destructor cannot report a failure, and going back to the user of before cannot fail.
    static_cast<void>(seteuid(m_effectiveUser) != 0);
}

} // namespace dmn
