#pragma once

#include <fdn/String.h>

#include <exception>

namespace fdn {

// The log of the process; CXMLLog describes its place and form. Any thread may write to it at any time in the
// process's life, but not from a signal handler. A log that fails never breaks the program: these functions
// throw nothing, wait for nothing but the disk, and leave errno as it was.

/// Writes one entry of the level "info".
FDN_EXPORT void logInfo(String const& text);

/// Writes one entry of the level "error".
FDN_EXPORT void logError(String const& text);

/// Writes one entry of the level "error" about an exception that was caught: its message and, for a CError,
/// the second text, the code, the properties and the causes. `situation` says what was going on; `where`
/// names the function or activity that caught it. Either text may be empty.
FDN_EXPORT void logError(std::exception const& error, String const& situation, String const& where);

} // namespace fdn
