#pragma once

#include <fdn/String.h>

namespace fdn {

/// Percent-encodes the text (RFC 3986, 2.1): letters, digits, ".", "_" and "-" stay, every other byte of its
/// UTF-8 form becomes "%" and two upper-case hexadecimal digits. "~" is escaped too, because shells expand
/// it. The result holds no white space and no character that a shell acts on; uriUnescape() gives the text
/// back. Throws CUnencodableStringError for a code point that UTF-8 does not have.
FDN_EXPORT String uriEscape(String const& text);

/// Undoes uriEscape(). A "%" without two hexadecimal digits after it stays as it is. Bytes that are not UTF-8
/// are read as ISO-8859-1.
FDN_EXPORT String uriUnescape(String const& text);

} // namespace fdn
