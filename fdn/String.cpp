#include <fdn/String.h>

#include <fdn/CError.h>

#include <wx/strconv.h>

#include <algorithm>
#include <cstring>

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

bool isASCII(wxString const& text) {
    wchar_t const* const wide = text.wc_str();
    return std::all_of(wide, wide + text.length(), [](wchar_t c) { return c >= 0 && c < 0x80; });
}

bool isASCII(std::string const& bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](unsigned char c) { return c < 0x80; });
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

String::String(char const* text) : wxString(text == nullptr ? "" : text, wxConvISO8859_1) {}

String::String(wchar_t const* text) : wxString(text == nullptr ? L"" : text) {}

String::String(wxString const& text) : wxString(text) {}

String::~String() = default;

String String::fromBytes(std::string const& bytes) {
    if (isASCII(bytes))
        return wxString(bytes.data(), wxConvISO8859_1, bytes.size());
    wxString const text(bytes.data(), wxConvUTF8, bytes.size());
    // wxWidgets reads overlong forms and surrogates too; they do not come to the same size again.
    if (getEncodedSize(text, wxConvUTF8) == bytes.size())
        return text;
    return wxString(bytes.data(), wxConvISO8859_1, bytes.size());
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
    if (isASCII(*this))
        return std::string(wc_str(), wc_str() + length());
    std::string bytes(requireEncodedSize(*this, wxConvUTF8), '\0');
    wxConvUTF8.FromWChar(bytes.data(), bytes.size(), wc_str(), length());
    return bytes;
}

bool String::operator==(char const* text) const {
    std::size_t const size = text == nullptr ? 0 : std::strlen(text);
    auto const isSame = [](unsigned char narrow, wchar_t wide) { return wchar_t{narrow} == wide; };
    return length() == size && std::equal(text, text + size, wc_str(), isSame);
}

String operator+(String const& left, String const& right) {
    String result;
    result.reserve(left.length() + right.length());
    result.append(left);
    result.append(right);
    return result;
}

String operator+(char const* left, String const& right) {
    return String(left) + right;
}

String operator+(String const& left, char const* right) {
    return left + String(right);
}

} // namespace fdn
