#include <fdn/system/openProcess.h>

#include <sys/syscall.h>
#include <unistd.h>

namespace fdn {

Descriptor openProcess(pid_t process) noexcept {
    // By the call's number, because the C library has a function for it only since 2.36. The kernel itself
    // makes the descriptor close-on-exec.
    return Descriptor(static_cast<int>(syscall(SYS_pidfd_open, process, 0)));
}

} // namespace fdn
