#pragma once

#include <wx/defs.h>

namespace fdn {

/// Whether terminals may act on the character instead of showing it (ISO 6429). Those above 0x7F are short
/// forms of two characters that begin with an escape.
constexpr bool isControlCharacter(wxUint32 code) {
    return code < 0x20 || (code >= 0x7F && code <= 0x9F);
}

/// Whether UTF-8 can represent it: no half of a surrogate pair, and nothing above U+10FFFF.
constexpr bool isRepresentable(wxUint32 code) {
    return code <= 0xD7FF || (code >= 0xE000 && code <= 0x10FFFF);
}

/// What stands for a character that cannot be written.
constexpr wchar_t kReplacementCharacter = 0xFFFD;

} // namespace fdn
