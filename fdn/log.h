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

/// From now on, each entry is also written to standard error, on one line that people can read:
///
///     2026-11-22 09:41:12.123 warning: text
///
/// The time is local, and an entry of the level "info" has no level there. An exception has its message, then
/// in parentheses the second text, in brackets where it was caught, the code and the properties, and then its
/// causes. Control characters are written as in C ("\n", "\x1b"), so that no text can act on a terminal.
///
/// An entry is left out there while the log itself is at standard error, and lost when standard error does
/// not take it at once. In the child of a fork, local time is as far ahead of UTC as it was at the fork;
/// do not call this there if the parent has several threads.
FDN_EXPORT void showLogOnStandardError();

/// Where this process's log is, or would be once an entry is written, by the rules that CXMLLog describes.
/// Empty where there is no place for it, so that entries go to syslog. Touches no file.
FDN_EXPORT Path getLogFile();

/// Where the log of a program is that launchDetached() starts under this account, in this folder (empty: the
/// caller's). Empty where there is no place for it, and "/dev/null" where FDN_LOG_FILE names a standard
/// stream. Throws CError when there is no such account.
FDN_EXPORT Path getLogFileOf(Path const& program, CSystemUserID const& account, Path const& folder = Path());

} // namespace fdn
