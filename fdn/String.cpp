#include <fdn/String.h>

#include <wx/strconv.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

namespace fdn {

namespace {

// wchar_t has a sign on some machines only.
bool isCodePoint(wchar_t c) {
    auto const code = static_cast<char32_t>(c);
    return code < 0xD800 || (code >= 0xE000 && code <= 0x10FFFF);
}

// wxWidgets' UTF-8 encodes surrogates too, and stops with an assertion at what lies beyond Unicode.
bool isUnicode(wxString const& text) {
    wchar_t const* const wide = text.wc_str();
    return std::all_of(wide, wide + text.length(), isCodePoint);
}

// The number of bytes of the whole text, including each NUL in it, or wxCONV_FAILED.
std::size_t getUTF8Size(wxString const& text) {
    if (!isUnicode(text))
        return wxCONV_FAILED;
    return wxConvUTF8.FromWChar(nullptr, 0, text.wc_str(), text.length());
}

// Most texts are ASCII. Looking at all bytes, without stopping at the first that is not, lets the compiler
// take several at a time.
bool isASCII(std::string const& bytes) {
    unsigned bits = 0;
    for (char const c : bytes)
        bits |= static_cast<unsigned char>(c);
    return bits < 0x80;
}

std::size_t lengthOf(char const* narrow) {
    return narrow == nullptr ? 0 : std::strlen(narrow);
}

// ISO-8859-1 is the first 256 code points: no converter is needed.
void appendWidened(wxString& text, char const* narrow, std::size_t length) {
    auto const end = static_cast<std::ptrdiff_t>(text.length());
    text.append(length, L'\0');
    std::transform(narrow, narrow + length, text.begin() + end, [](unsigned char c) { return wchar_t{c}; });
}

} // namespace

String::String(char const* text) {
    appendWidened(*this, text, lengthOf(text));
}

String::String(wchar_t const* text) : wxString(text == nullptr ? L"" : text) {}

String::String(wxString const& text) : wxString(text) {}

String::~String() = default;

String String::fromBytes(std::string const& bytes) {
    if (!isASCII(bytes)) {
        wxString text(bytes.data(), wxConvUTF8, bytes.size());
        // wxWidgets reads overlong forms and surrogates too. Those do not convert back to the same number of
        // bytes.
        if (getUTF8Size(text) == bytes.size())
            return String(std::move(text));
    }
    String text;
    appendWidened(text, bytes.data(), bytes.size());
    return text;
}

wxCharBuffer String::toCP() const {
    wxCharBuffer bytes;
    if (!encode(wxConvLocal, bytes) && !bytes.extend(0))
        throwUnencodable();
    return bytes;
}

wxCharBuffer String::toEncoding(wxMBConv const& encoding, int* length) const {
    wxCharBuffer bytes;
    if (!encode(encoding, bytes))
        throwUnencodable();
    if (length != nullptr)
        *length = static_cast<int>(bytes.length());
    return bytes;
}

bool String::encode(wxMBConv const& encoding, wxCharBuffer& bytes) const {
    if (!isUnicode(*this))
        return false;
    wchar_t const* const wide = wc_str();
    // The terminator is converted too, because it takes an encoding with states, such as ISO-2022-JP, back to
    // the first one: only then are the bytes complete, and the next conversion starts afresh.
    std::size_t const lengthWithTerminator = length() + 1;
    std::size_t const room = encoding.FromWChar(nullptr, 0, wide, lengthWithTerminator);
    if (room == wxCONV_FAILED)
        return false;
    if (!bytes.extend(room))
        throwUnencodable();
    std::size_t const size = encoding.FromWChar(bytes.data(), room, wide, lengthWithTerminator);
    std::size_t const terminator = encoding.GetMBNulLen();
    if (size == wxCONV_FAILED || size < terminator)
        return false;
    bytes.shrink(size - terminator);
    return true;
}

std::string String::toUTF8() const {
    std::string bytes(length(), '\0');
    char32_t bits = 0;
    std::transform(wc_str(), wc_str() + length(), bytes.begin(), [&bits](wchar_t c) {
        bits |= static_cast<char32_t>(c);
        return static_cast<char>(c);
    });
    if (bits < 0x80) // ASCII, as most texts are: each code point is its own byte
        return bytes;
    std::size_t const size = getUTF8Size(*this);
    if (size == wxCONV_FAILED)
        throwUnencodable();
    bytes.resize(size);
    wxConvUTF8.FromWChar(bytes.data(), size, wc_str(), length());
    return bytes;
}

bool String::operator==(char const* text) const {
    auto const isSame = [](unsigned char narrow, wchar_t wide) { return wchar_t{narrow} == wide; };
    return length() == lengthOf(text) && std::equal(text, text + length(), wc_str(), isSame);
}

String& String::append(char const* text) {
    appendWidened(*this, text, lengthOf(text));
    return *this;
}

String& String::append(char const* text, std::size_t length) {
    appendWidened(*this, text, length == npos ? lengthOf(text) : length);
    return *this;
}

void String::appendNarrow(std::string_view text) {
    appendWidened(*this, text.data(), text.size());
}

int String::compareNarrow(std::string_view other) const {
    String text;
    text.appendNarrow(other);
    return compare(text);
}

String operator+(String const& left, String const& right) {
    String result;
    result.reserve(left.length() + right.length());
    result.append(left);
    result.append(right);
    return result;
}

String operator+(char const* left, String const& right) {
    std::size_t const leftLength = lengthOf(left);
    String result;
    result.reserve(leftLength + right.length());
    appendWidened(result, left, leftLength);
    result.append(right);
    return result;
}

String operator+(String const& left, char const* right) {
    std::size_t const rightLength = lengthOf(right);
    String result;
    result.reserve(left.length() + rightLength);
    result.append(left);
    appendWidened(result, right, rightLength);
    return result;
}

String operator+(String&& left, String const& right) {
    left.append(right);
    return std::move(left);
}

String operator+(String&& left, char const* right) {
    appendWidened(left, right, lengthOf(right));
    return std::move(left);
}

} // namespace fdn
