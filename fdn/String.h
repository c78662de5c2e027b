#pragma once

#include <fdn/CBase.h>
#include <fdn/containers.h>

#include <wx/buffer.h>
#include <wx/string.h>

#include <string>
#include <type_traits>
#include <utility>

namespace fdn {

/// The text of the whole library: wide characters (one Unicode code point each), with everything that
/// wxString can do. A String can also be held through P<String>; copying copies the text and starts a count
/// of its own.
///
/// Narrow text is read as ISO-8859-1 by what is declared here; operations inherited from wxString, such as
/// append(), read it in the locale's encoding. The empty String is the normal absence of a value.
class FDN_EXPORT String : public wxString, public CBase {
public:
    String() = default;

    /// Decodes ISO-8859-1: every byte becomes the code point of the same value, whatever the locale is. Never
    /// fails; null gives the empty String. Implicit, because every literal enters through it.
    String(char const* text);

    /// One code point per character; null gives the empty String.
    String(wchar_t const* text);

    /// The same code points. Lets the results of wxString's operations be Strings again.
    String(wxString const& text);

    /// The same, of a text that nobody needs any more; it is empty afterwards.
    String(wxString&& text) noexcept { swap(text); }

    /// A copy of the text, with a count of its own.
    String(String const& other) = default;

    /// The other's text, with a count of its own; the other is empty afterwards.
    String(String&& other) noexcept { swap(other); }

    /// Takes over the text; the count stays.
    String& operator=(String const& other) = default;

    /// Takes over the text, and gives the other its own; the counts stay.
    String& operator=(String&& other) noexcept {
        swap(other);
        return *this;
    }

    ~String() override;

    /// Text from outside the program: UTF-8 (RFC 3629), or ISO-8859-1 when the bytes are not UTF-8, which
    /// overlong forms and surrogates are not. Never fails.
    static String fromBytes(std::string const& bytes);

    /// The text as zero-terminated bytes in the encoding of the process's locale (wxConvLocal, which CFdnInit
    /// sets). A text that the locale cannot represent gives no bytes at all; CUnencodableStringError is
    /// thrown only when no buffer can be had.
    wxCharBuffer toCP() const;

    /// The text as zero-terminated bytes in the given encoding. Stores the number of bytes, without the
    /// terminator, at `length` unless that is null. Throws CUnencodableStringError, and stores nothing, when
    /// the encoding cannot represent the text; no encoding can represent half a surrogate pair or a number
    /// above U+10FFFF.
    wxCharBuffer toEncoding(wxMBConv const& encoding, int* length) const;

    /// The text as UTF-8. Throws as toEncoding() does.
    std::string toUTF8() const;

    /// Length and every code point must match.
    bool operator==(String const& other) const { return compare(other) == 0; }

    /// Length or a code point differs.
    bool operator!=(String const& other) const { return compare(other) != 0; }

    /// Compares with the text's ISO-8859-1 reading.
    bool operator==(char const* text) const;

    /// Differs from the text's ISO-8859-1 reading.
    bool operator!=(char const* text) const { return !(*this == text); }
};

FDN_EXPORT String operator+(String const& left, String const& right);
FDN_EXPORT String operator+(char const* left, String const& right);
FDN_EXPORT String operator+(String const& left, char const* right);

/// The left text is one that nobody needs any more; the right one is put at its end.
FDN_EXPORT String operator+(String&& left, String const& right);
FDN_EXPORT String operator+(String&& left, char const* right);

/// Lets Strings mix with the other wide texts: wxStrings, which Format() and substr() return, and wide
/// literals. Templates, because compilers cannot choose between wxString's operators and a conversion to
/// String.
template <class Text>
using EnableIfWide =
    std::enable_if_t<std::is_convertible_v<Text const&, wchar_t const*> && !std::is_same_v<Text, String>>;

template <class Text, class = EnableIfWide<Text>>
String operator+(String&& left, Text const& right) {
    left.append(right);
    return std::move(left);
}

template <class Text, class = EnableIfWide<Text>>
String operator+(String const& left, Text const& right) {
    return String(left) + right;
}

template <class Text, class = EnableIfWide<Text>>
String operator+(Text const& left, String const& right) {
    return String(wxString(left)) + right;
}

template <class Text, class = EnableIfWide<Text>>
bool operator==(String const& left, Text const& right) {
    return left.compare(wxString(right)) == 0;
}

template <class Text, class = EnableIfWide<Text>>
bool operator!=(String const& left, Text const& right) {
    return left.compare(wxString(right)) != 0;
}

} // namespace fdn
