#pragma once

#include <fdn/Path.h>
#include <fdn/String.h>

#include <string>

namespace dmnctl {

// The tool works on UTF-8, the libraries on fdn::String.

std::string toUTF8(fdn::String const& text);
std::string toUTF8(fdn::Path const& path);

/// By the rule of String::fromBytes().
fdn::String fromUTF8(std::string const& text);

/// The text on one line that cannot act on a terminal: control characters, and those that change the
/// direction of writing, are escaped as in C ("\n", "\x1b", "\u202e").
std::string toPrintable(std::string const& text);
std::string toPrintable(fdn::String const& text);
std::string toPrintable(fdn::Path const& path);

/// The text with a blank for each control character: for a file that has a line for it.
fdn::String toOneLine(fdn::String const& text);

/// JSON whose texts cannot act on a terminal either: the same characters are escaped as in JSON. Line feeds
/// are left: they stand between the texts.
std::string escapeJsonForTerminals(std::string const& json);

/// How many columns of a terminal a printable text takes.
int countColumns(std::string const& text);

/// The text, or as much of its beginning as has room in so many columns, with "…" for the rest.
std::string cutToColumns(std::string const& text, int columns);

/// Writes the text to standard output at once. Returns false when nobody reads it any more and SIGPIPE is
/// ignored. Throws CError when it cannot be written for any other reason.
bool print(std::string const& text);

/// Writes a line for people to standard error: "dmnctl: " and the printable text.
void printError(std::string const& text);

} // namespace dmnctl
