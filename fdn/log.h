#pragma once

#include <fdn/CSystemUserID.h>
#include <fdn/LogLevel.h>
#include <fdn/Path.h>
#include <fdn/String.h>

#include <exception>
#include <optional>

namespace fdn {

// The log of the process; CXMLLog describes its place and form. Any thread may write to it at any time in the
// process's life, but not from a signal handler. A log that fails never breaks the program: these functions
// throw nothing, wait for nothing but the disk, and leave errno as it was.

/// Writes one entry of the level "debug", if setLogLevel() has asked for such entries.
FDN_EXPORT void logDebug(String const& text);

/// Writes one entry of the level "info".
FDN_EXPORT void logInfo(String const& text);

/// Writes one entry of the level "warning".
FDN_EXPORT void logWarning(String const& text);

/// Writes one entry of the level "error".
FDN_EXPORT void logError(String const& text);

/// Writes one entry of the level "error" about an exception that was caught: its message and, for a CError,
/// the second text, the code, the properties and the causes. `situation` says what was going on; `where`
/// names the function or activity that caught it. Either text may be empty.
FDN_EXPORT void logError(std::exception const& error, String const& situation, String const& where);

/// Sets the least serious level that is written from now on; at first it is Info. Entries below it cost
/// next to nothing. Any thread may call it.
FDN_EXPORT void setLogLevel(LogLevel least) noexcept;

/// The least serious level that is written. Any thread may call it.
FDN_EXPORT LogLevel getLogLevel() noexcept;

/// The level with this name: "debug", "info", "warning" or "error". Nothing for any other text.
FDN_EXPORT std::optional<LogLevel> parseLogLevel(String const& name);

/// From now on, each entry is also written to standard error, on one line that people can read: time, level,
/// text. Does nothing when standard error is where the log is anyway. An entry that standard error does not
/// take at once is lost there.
FDN_EXPORT void showLogOnStandardError();

/// Where this process's log is, or would be once an entry is written, by the rules that CXMLLog describes.
/// Empty where there is no place for it, so that entries go to syslog. Touches no file.
FDN_EXPORT Path getLogFile();

/// Where the log of another program is that this account runs, in the environment that launchDetached() gives
/// it. Empty where there is no place for it. Throws CError for an account that does not exist any more.
FDN_EXPORT Path getLogFileOf(Path const& program, CSystemUserID const& account);

} // namespace fdn
