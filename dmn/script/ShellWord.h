#pragma once

#include <fdn/Path.h>
#include <fdn/String.h>

namespace dmn {

/// The text as one word of a shell command, for people to paste: as it is or, where the shell acts on
/// something in it, between single quotes (POSIX.1-2017, Shell Command Language, 2.2.2).
fdn::String quoteShellWord(fdn::String const& text);
fdn::String quoteShellWord(fdn::Path const& path);

/// Whether some shells' echo takes it, as its first word, for an option and does not print it, such as "-n".
bool isEchoOption(fdn::String const& word);

/// Whether every shell prints the text as it is when an unquoted expansion gives it to echo: words of plain
/// characters with one blank between each two, or nothing at all. What is not certain is "no".
bool isEchoedUnchanged(fdn::String const& text);

/// The first character of the text that a shell acts on between double quotes (2.2.3), or the character NUL,
/// which no script can hold. Empty if there is none.
fdn::String findActiveInQuotes(fdn::String const& text);

/// The first character of the text at which a shell splits an expansion without quotes, for which it looks
/// for matching files, or which its echo changes (2.6.5, 2.6.6). Empty if there is none.
fdn::String findActiveInWord(fdn::String const& text);

} // namespace dmn
