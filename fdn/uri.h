#pragma once

#include <fdn/String.h>

namespace fdn {

/// Percent-encodes the text (RFC 3986, 2.1): ASCII letters, digits, ".", "_" and "-" stay, every other byte
/// of its UTF-8 form becomes "%" and two upper-case hexadecimal digits. "~" is escaped too, although the
/// standard leaves it alone, because shells expand it. The result holds no white space and no character that
/// a shell acts on; uriUnescape() gives the text back. Throws CUnencodableStringError for a code point that
/// UTF-8 does not have.
FDN_EXPORT String uriEscape(String const& text);

/// Undoes uriEscape(), with hexadecimal digits of either case. A "%" without two of them after it stays as it
/// is. When the bytes are not UTF-8, all are read as ISO-8859-1. Throws as uriEscape() does.
FDN_EXPORT String uriUnescape(String const& text);

} // namespace fdn
