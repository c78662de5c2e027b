#pragma once

#include <fdn/LogLevel.h>
#include <fdn/String.h>
#include <fdn/log/FixedText.h>

#include <exception>
#include <string>
#include <string_view>

namespace fdn {

/// The start tag of an entry by the calling thread at this time. A signal handler may make one.
FixedText<160> composeStartTag(LogLevel level);

constexpr std::string_view kEndOfEntry = "</entry>\n";

/// An entry of the log as one line: an XML element with the time and the calling process and thread, around
/// the content, which must be XML on one line, and a line feed.
std::string formatLogEntry(LogLevel level, std::string const& content);

/// The content of an entry about an exception, as CXMLLog describes it: elements for the two texts and for
/// what the exception says. Empty texts get no element.
std::string describeError(std::exception const& error, String const& situation, String const& where);

} // namespace fdn
