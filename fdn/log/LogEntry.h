#pragma once

#include <fdn/String.h>

#include <exception>
#include <string>

namespace fdn {

enum class LogLevel { Info, Error };

/// An entry of the log, which is one line: an XML element with the time and the caller's process and thread,
/// around the content, and a line feed.
std::string formatLogEntry(LogLevel level, std::string const& content);

/// The content of an entry about an exception: elements for the two texts and for what the exception says.
/// Empty texts have no element.
std::string describeError(std::exception const& error, String const& situation, String const& where);

} // namespace fdn
