#include <fdn/String.h>

#include <fdn/CError.h>

#include <wx/strconv.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

namespace fdn {

namespace {

bool isCodePoint(wchar_t c) {
    return (c >= 0 && c < 0xD800) || (c >= 0xE000 && c <= 0x10FFFF);
}

// The number of bytes of the whole text, characters with the value zero included, or wxCONV_FAILED when the
// encoding cannot represent it.
std::size_t getEncodedSize(wxString const& text, wxMBConv const& encoding) {
    wchar_t const* const wide = text.wc_str();
    // wxWidgets' UTF-8 would encode surrogates, and stops with an assertion at what lies beyond Unicode.
    if (!std::all_of(wide, wide + text.length(), isCodePoint))
        return wxCONV_FAILED;
    return encoding.FromWChar(nullptr, 0, wide, text.length());
}

// Most texts are ASCII: this is fastest when it looks at all of the bytes, whatever they are.
bool isASCII(std::string const& bytes) {
    unsigned bits = 0;
    for (char const c : bytes)
        bits |= static_cast<unsigned char>(c);
    return bits < 0x80;
}

std::size_t lengthOf(char const* narrow) {
    return narrow == nullptr ? 0 : std::strlen(narrow);
}

// ISO-8859-1 is the first 256 code points: it needs no converter.
void appendNarrow(wxString& text, char const* narrow, std::size_t length) {
    auto const end = static_cast<std::ptrdiff_t>(text.length());
    text.append(length, L'\0');
    std::transform(narrow, narrow + length, text.begin() + end, [](unsigned char c) { return wchar_t{c}; });
}

std::size_t requireEncodedSize(wxString const& text, wxMBConv const& encoding) {
    std::size_t const size = getEncodedSize(text, encoding);
    if (size == wxCONV_FAILED)
        throw CUnencodableStringError();
    return size;
}

wxCharBuffer encode(wxString const& text, wxMBConv const& encoding, std::size_t size) {
    wxCharBuffer bytes(size);
    if (!bytes)
        throw CUnencodableStringError();
    if (size > 0)
        encoding.FromWChar(bytes.data(), size, text.wc_str(), text.length());
    return bytes;
}

} // namespace

String::String(char const* text) {
    appendNarrow(*this, text, lengthOf(text));
}

String::String(wchar_t const* text) : wxString(text == nullptr ? L"" : text) {}

String::String(wxString const& text) : wxString(text) {}

String::~String() = default;

String String::fromBytes(std::string const& bytes) {
    if (!isASCII(bytes)) {
        wxString text(bytes.data(), wxConvUTF8, bytes.size());
        // wxWidgets reads overlong forms and surrogates too; they do not come to the same size again.
        if (getEncodedSize(text, wxConvUTF8) == bytes.size())
            return String(std::move(text));
    }
    String text;
    appendNarrow(text, bytes.data(), bytes.size());
    return text;
}

wxCharBuffer String::toCP() const {
    std::size_t const size = getEncodedSize(*this, wxConvLocal);
    return encode(*this, wxConvLocal, size == wxCONV_FAILED ? 0 : size);
}

wxCharBuffer String::toEncoding(wxMBConv const& encoding, int* length) const {
    std::size_t const size = requireEncodedSize(*this, encoding);
    wxCharBuffer const bytes = encode(*this, encoding, size);
    if (length != nullptr)
        *length = static_cast<int>(size);
    return bytes;
}

std::string String::toUTF8() const {
    std::string bytes(length(), '\0');
    wchar_t bits = 0;
    std::transform(wc_str(), wc_str() + length(), bytes.begin(), [&bits](wchar_t c) {
        bits |= c;
        return static_cast<char>(c);
    });
    if (bits >= 0 && bits < 0x80) // ASCII, as most texts are
        return bytes;
    bytes.resize(requireEncodedSize(*this, wxConvUTF8));
    wxConvUTF8.FromWChar(bytes.data(), bytes.size(), wc_str(), length());
    return bytes;
}

bool String::operator==(char const* text) const {
    auto const isSame = [](unsigned char narrow, wchar_t wide) { return wchar_t{narrow} == wide; };
    return length() == lengthOf(text) && std::equal(text, text + length(), wc_str(), isSame);
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
    appendNarrow(result, left, leftLength);
    result.append(right);
    return result;
}

String operator+(String const& left, char const* right) {
    std::size_t const rightLength = lengthOf(right);
    String result;
    result.reserve(left.length() + rightLength);
    result.append(left);
    appendNarrow(result, right, rightLength);
    return result;
}

String operator+(String&& left, String const& right) {
    left.append(right);
    return std::move(left);
}

String operator+(String&& left, char const* right) {
    appendNarrow(left, right, lengthOf(right));
    return std::move(left);
}

} // namespace fdn
