#pragma once

#include <fdn/LogLevel.h>
#include <fdn/String.h>
#include <fdn/log/FixedText.h>

#include <exception>
#include <string>

namespace fdn {

/// The text for people, in UTF-8 and on one line. Control characters are written as in C, so that a terminal
/// shows them instead of obeying them.
std::string toReadableText(String const& text);

/// The same about an exception, as showLogOnStandardError() describes it.
std::string describeErrorReadably(std::exception const& error, String const& situation, String const& where);

/// The start of an entry for people: local time, by the last look at the time zone, and the level. A signal
/// handler may make one.
FixedText<64> composeReadableStart(LogLevel level);

/// An entry for people as one line, with a line feed, around a text that is on one line.
std::string formatReadableEntry(LogLevel level, std::string const& text);

/// Looks at how far local time is ahead of UTC now. Takes a lock of the C library.
void lookAtTimeZone();

} // namespace fdn
