#pragma once

#include <fdn/CError.h>
#include <fdn/CProps.h>
#include <fdn/String.h>

namespace fdn {

// A system call that fails says why in the calling thread's errno, which nearly every other call may change.
// Throw before anything else runs, or save the number first.

/// The error number of the calling thread's last failed system call (POSIX errno).
FDN_EXPORT int getLastSysError();

/// Throws a CError for the system's error number, which becomes the error's code. The properties are those of
/// the failure: "func" names the system call that failed, "action" the operation that made it, and "path",
/// "program" or "account" what it was about. The message says all but the action, and the reason in the
/// system's words: "chmod failed for '/etc/init.d/app': Operation not permitted."
[[noreturn]] FDN_EXPORT void throwSysError(int code, CProps const& props);

/// The same for the last failed system call, which concerned nothing that has a name.
[[noreturn]] FDN_EXPORT void throwLastSysError(char const* func, char const* action);

/// The same for a call that concerned the path.
[[noreturn]] FDN_EXPORT void throwLastSysError(char const* func, char const* action,
                                               TPathImpl<CUnixPathTraits> const& path);

} // namespace fdn
