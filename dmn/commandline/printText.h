#pragma once

#include <fdn/String.h>

#include <exception>
#include <string>

namespace dmn {

/// The text in the locale's encoding, or in UTF-8 where that cannot represent it.
std::string encodeForTerminal(fdn::String const& text);

/// Prints the text, so encoded, and a line feed to standard output, at once. What cannot be printed is lost.
void printText(fdn::String const& text);

/// Prints why the program fails. Throws nothing: the exit status tells all the same.
void printFatalError(std::exception const& error) noexcept;

} // namespace dmn
