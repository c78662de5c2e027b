#pragma once

#include <fdn/system/Descriptor.h>

#include <sys/types.h>

namespace fdn {

/// A handle on the process (Linux pidfd_open), which stays with it when its number is given to another one,
/// and which poll() reports as readable once the process has ended.
///
/// Not open when there is no such process (ESRCH; for the number of a thread EINVAL or ENOENT, depending on
/// the kernel), and with any other errno when the system gives no handle: kernels before 5.3 have none
/// (ENOSYS), and sandboxes may refuse it.
Descriptor openProcess(pid_t process) noexcept;

} // namespace fdn
