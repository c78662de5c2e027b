#pragma once

#include <fdn/CBase.h>
#include <fdn/containers.h>

#include <wx/buffer.h>
#include <wx/string.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace fdn {

/// Whether it is a narrow text: literals and other arrays and pointers of `char`, std::string and
/// std::string_view, and a single character.
template <class Text>
constexpr bool isNarrow = std::is_same_v<Text, char> || std::is_convertible_v<Text const&, std::string_view>;

/// Limits a template to narrow texts.
template <class Text>
using EnableIfNarrow = std::enable_if_t<isNarrow<Text>>;

class String;

/// Limits a template to narrow texts and wide ones: wxStrings, which Format() and substr() return, and wide
/// literals. Not Strings, which have operators of their own.
template <class Text>
using EnableIfText = std::enable_if_t<isNarrow<Text> || (std::is_convertible_v<Text const&, wchar_t const*> &&
                                                         !std::is_base_of_v<String, Text>)>;

/// The text of the whole library: wide characters (one Unicode code point each), with everything that
/// wxString can do. A String can also be held through P<String>; copying copies the text and starts a count
/// of its own. The empty String is the normal absence of a value.
///
/// Narrow text is read as ISO-8859-1 by the constructors, the operators and append(), which are declared
/// here. Operations inherited from wxString, such as Format(), find() and Append(), read it in the locale's
/// encoding, and may drop what is not in it. Read text from outside the program with fromBytes().
///
/// Several threads may read one String at once, as long as none changes it. Taking c_str() as a `char const*`
/// changes it: wxString then stores the converted bytes.
class FDN_EXPORT String : public wxString, public CBase {
public:
    /// The empty text.
    String() = default;

    /// Decodes ISO-8859-1: every byte becomes the code point of the same value, whatever the locale is. Never
    /// fails; null gives the empty String. Implicit, because every literal enters through it.
    String(char const* text);

    /// The same for other narrow texts, including each character NUL in them. Explicit, because text from
    /// outside the program should go through fromBytes() instead.
    template <class Text, class = EnableIfNarrow<Text>>
    explicit String(Text const& text) {
        appendNarrow(viewOf(text));
    }

    /// One code point per character; null gives the empty String.
    String(wchar_t const* text);

    /// The same code points. Implicit, so that the results of wxString's operations become Strings again.
    String(wxString const& text);

    /// The same, from a text that nobody needs any more; it is empty afterwards.
    String(wxString&& text) noexcept { swap(text); }

    /// A copy of the text, with a count of its own.
    String(String const& other) = default;

    /// The other's text, with a count of its own; the other is empty afterwards.
    String(String&& other) noexcept { swap(other); }

    /// Takes over the text; the count stays.
    String& operator=(String const& other) = default;

    /// Exchanges the two texts, which is cheaper than freeing one; the counts stay.
    String& operator=(String&& other) noexcept {
        swap(other);
        return *this;
    }

    ~String() override;

    /// Text from outside the program: UTF-8 (RFC 3629), or ISO-8859-1 when the bytes are not valid UTF-8 as a
    /// whole; overlong forms and surrogates are not valid. A NUL is a character like any other. Never fails,
    /// whatever the locale is.
    static String fromBytes(std::string const& bytes);

    /// The text as zero-terminated bytes in the encoding of the process's locale (wxConvLocal, which CFdnInit
    /// sets). A text that the locale cannot represent gives no bytes at all: that is what an empty answer
    /// means for a text that is not empty. CUnencodableStringError is thrown only when there is no memory for
    /// a buffer. The caller owns the bytes.
    wxCharBuffer toCP() const;

    /// The text as zero-terminated bytes in the given encoding. Where an encoding has states, as ISO-2022-JP
    /// has, the bytes begin and end in the first one. Stores the number of bytes, without the terminator, at
    /// `length` unless that is null. The caller owns the bytes. Throws CUnencodableStringError, and stores
    /// nothing, when the encoding cannot represent the text; no encoding can represent half a surrogate pair
    /// or a number above U+10FFFF.
    wxCharBuffer toEncoding(wxMBConv const& encoding, int* length) const;

    /// The text as UTF-8 (RFC 3629), including each character NUL in it. Throws as toEncoding() does.
    std::string toUTF8() const;

    /// Whether length and every code point are the same. Case matters, and nothing is normalized (Unicode UAX
    /// #15).
    bool operator==(String const& other) const { return compare(other) == 0; }

    /// Whether length or a code point differs.
    bool operator!=(String const& other) const { return compare(other) != 0; }

    /// Compares with the text's ISO-8859-1 reading. Null is the empty text.
    bool operator==(char const* text) const;

    /// Differs from the text's ISO-8859-1 reading.
    bool operator!=(char const* text) const { return !(*this == text); }

    using wxString::append;

    /// Appends the text's ISO-8859-1 reading; null appends nothing.
    String& append(char const* text);

    /// The same for `length` bytes, whatever they are; npos stands for all up to the first NUL.
    String& append(char const* text, std::size_t length);

    /// The same for other narrow texts.
    template <class Text, class = EnableIfNarrow<Text>>
    String& append(Text const& text) {
        appendNarrow(viewOf(text));
        return *this;
    }

    /// Appends all that wxString appends; narrow text by its ISO-8859-1 reading.
    template <class Text>
    String& operator+=(Text const& text) {
        if constexpr (isNarrow<Text>)
            appendNarrow(viewOf(text));
        else
            wxString::operator+=(text);
        return *this;
    }

    /// The same, and numbers in decimal.
    template <class Text>
    String& operator<<(Text const& text) {
        if constexpr (isNarrow<Text>)
            appendNarrow(viewOf(text));
        else
            wxString::operator<<(text);
        return *this;
    }

    // Strings mix with other texts in every expression, by the rules of the operators for Strings. They are
    // templates, because compilers could not choose between wxString's operators and a conversion to String;
    // and friends, because friends are not even considered for expressions without a String.

    template <class Text, class = EnableIfText<Text>>
    friend String operator+(String&& left, Text const& right) {
        return std::move(left += right);
    }

    template <class Text, class = EnableIfText<Text>>
    friend String operator+(String const& left, Text const& right) {
        return String(left) + right;
    }

    template <class Text, class = EnableIfText<Text>>
    friend String operator+(Text const& left, String const& right) {
        return std::move(String() += left) + right;
    }

    template <class Text, class = EnableIfText<Text>>
    friend bool operator==(String const& left, Text const& right) {
        return left.compareWith(right) == 0;
    }

    template <class Text, class = EnableIfText<Text>>
    friend bool operator==(Text const& left, String const& right) {
        return right.compareWith(left) == 0;
    }

    template <class Text, class = EnableIfText<Text>>
    friend bool operator!=(String const& left, Text const& right) {
        return left.compareWith(right) != 0;
    }

    template <class Text, class = EnableIfText<Text>>
    friend bool operator!=(Text const& left, String const& right) {
        return right.compareWith(left) != 0;
    }

    template <class Text, class = EnableIfText<Text>>
    friend bool operator<(String const& left, Text const& right) {
        return left.compareWith(right) < 0;
    }

    template <class Text, class = EnableIfText<Text>>
    friend bool operator<(Text const& left, String const& right) {
        return right.compareWith(left) > 0;
    }

    template <class Text, class = EnableIfText<Text>>
    friend bool operator>(String const& left, Text const& right) {
        return left.compareWith(right) > 0;
    }

    template <class Text, class = EnableIfText<Text>>
    friend bool operator>(Text const& left, String const& right) {
        return right.compareWith(left) < 0;
    }

    template <class Text, class = EnableIfText<Text>>
    friend bool operator<=(String const& left, Text const& right) {
        return left.compareWith(right) <= 0;
    }

    template <class Text, class = EnableIfText<Text>>
    friend bool operator<=(Text const& left, String const& right) {
        return right.compareWith(left) >= 0;
    }

    template <class Text, class = EnableIfText<Text>>
    friend bool operator>=(String const& left, Text const& right) {
        return left.compareWith(right) >= 0;
    }

    template <class Text, class = EnableIfText<Text>>
    friend bool operator>=(Text const& left, String const& right) {
        return right.compareWith(left) <= 0;
    }

private:
    static std::string_view viewOf(char const* text) { return text == nullptr ? std::string_view() : text; }

    static std::string_view viewOf(char const& character) { return {&character, 1}; }

    static std::string_view viewOf(std::string_view text) { return text; }

    // Below, equal to or above 0 when this text comes before, equals or comes after the other one, code point
    // by code point.
    template <class Text>
    int compareWith(Text const& other) const {
        if constexpr (isNarrow<Text>)
            return compareNarrow(viewOf(other));
        else
            return compare(wxString(other));
    }

    // Whether the encoding can represent the text; stores its bytes then.
    FDN_HIDDEN bool encode(wxMBConv const& encoding, wxCharBuffer& bytes) const;

    // Throws CUnencodableStringError. Defined with the errors, which are made of Strings.
    [[noreturn]] FDN_HIDDEN static void throwUnencodable();

    int compareNarrow(std::string_view other) const;
    void appendNarrow(std::string_view text);
};

// The texts one after the other, narrow ones read as ISO-8859-1; a null pointer is the empty text.

FDN_EXPORT String operator+(String const& left, String const& right);
FDN_EXPORT String operator+(char const* left, String const& right);
FDN_EXPORT String operator+(String const& left, char const* right);

/// Appends to a left text that nobody needs any more, instead of copying it.
FDN_EXPORT String operator+(String&& left, String const& right);
FDN_EXPORT String operator+(String&& left, char const* right);

} // namespace fdn

/// Lets Strings be arguments of Format(), wxPrintf() and their kin, as wxStrings are: those look up the type
/// of an argument here, and do not accept its base class instead.
template <>
struct wxArgNormalizerWchar<fdn::String> : wxArgNormalizerWchar<wxString const&> {
    using wxArgNormalizerWchar<wxString const&>::wxArgNormalizerWchar;
};
