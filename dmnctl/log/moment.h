#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace dmnctl {

// Points in time are microseconds since the beginning of 1970, UTC.

/// The time that a text in the form of the log says, "2026-11-21T02:48:52.123456Z"; nothing for any other.
std::optional<std::int64_t> parseUTCTime(std::string const& text);

/// The local time to the millisecond, "2026-11-21 03:48:52.123".
std::string composeLocalTime(std::int64_t microseconds);

/// The time that a person means who says "since":
///
///     2026-11-22, 2026-11-22 10:00, 2026-11-22 10:00:00   local time; with T instead of the blank, too
///     2026-11-21T02:48:52.123456Z                         as the log has it
///     10:00, 10:00:00                                     today
///     today, yesterday                                    the midnight at which it began
///     30s, 15min, 2h, 3d                                  so long before now
///
/// Throws a CError that lists these for anything else.
std::int64_t parseSince(std::string const& text, std::int64_t now);

/// What the system's clock says.
std::int64_t getNow();

} // namespace dmnctl
