#pragma once

#include <fdn/String.h>

#include <exception>

namespace fdn {

// The process's log; its place and form are described at CXMLLog. Any thread may write to it, at any time of
// the process's life. A log that fails never breaks the program: these functions throw nothing, wait for
// nothing but the disk, and leave errno as it was. They must not be called from a signal handler.

/// Writes one entry for information.
FDN_EXPORT void logInfo(String const& text);

/// Writes one entry about an error.
FDN_EXPORT void logError(String const& text);

/// Writes one entry about an exception that was caught: its message and, of a CError, the second text, the
/// code, the properties and its causes. `situation` says what was going on, and may be empty; `where` names
/// the function or activity that caught it.
FDN_EXPORT void logError(std::exception const& error, String const& situation, String const& where);

} // namespace fdn
