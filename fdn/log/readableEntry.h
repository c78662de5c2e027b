#pragma once

#include <fdn/LogLevel.h>
#include <fdn/String.h>

#include <exception>
#include <string>

namespace fdn {

/// The text for people, in UTF-8 and on one line. Control characters are written as in C, so that a terminal
/// shows them instead of obeying them.
std::string toReadableText(String const& text);

/// The same about an exception, as showLogOnStandardError() describes it.
std::string describeErrorReadably(std::exception const& error, String const& situation, String const& where);

/// An entry for people as one line, with a line feed, around a text that is on one line. The time is that
/// many seconds ahead of UTC.
std::string formatReadableEntry(LogLevel level, std::string const& text, long secondsAheadOfUTC);

/// By how much local time is ahead of UTC now. Takes a lock of the C library.
long getSecondsAheadOfUTC();

} // namespace fdn
