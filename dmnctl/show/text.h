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

/// Writes the text to standard output at once. Returns false when nobody reads it any more.
bool print(std::string const& text);

/// Writes a line for people to standard error: "dmnctl: " and the text.
void printError(std::string const& text);

} // namespace dmnctl
