#include <fdn/system/openProcess.h>

#include <sys/syscall.h>
#include <unistd.h>

namespace fdn {

Descriptor openProcess(pid_t process) noexcept {
    // By its number, because the C library has a function for it only since 2.36. The kernel makes the
    // descriptor close-on-exec by itself.
    return Descriptor(static_cast<int>(syscall(SYS_pidfd_open, process, 0)));
}

} // namespace fdn
