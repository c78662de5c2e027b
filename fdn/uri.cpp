#include <fdn/uri.h>

#include <array>
#include <cstddef>
#include <string>

namespace fdn {

namespace {

constexpr wchar_t kHexDigits[] = L"0123456789ABCDEF";

// Not isalnum(), which asks the locale.
bool staysAsItIs(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' ||
           c == '_' || c == '-';
}

constexpr int findHexValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// Looked up, which is faster than comparing each digit with the ends of three ranges.
constexpr auto kHexValues = [] {
    std::array<signed char, 256> values = {};
    for (std::size_t code = 0; code < values.size(); ++code)
        values[code] = static_cast<signed char>(findHexValue(static_cast<char>(code)));
    return values;
}();

int hexValue(char c) {
    return kHexValues[static_cast<unsigned char>(c)];
}

// Takes the next byte of the text: what an escape stands for, or what is there.
char takeByte(char const*& next, char const* end) {
    if (*next == '%' && end - next > 2) {
        int const high = hexValue(next[1]);
        int const low = hexValue(next[2]);
        if (high >= 0 && low >= 0) {
            next += 3;
            return static_cast<char>(high * 16 + low);
        }
    }
    return *next++;
}

} // namespace

String uriEscape(String const& text) {
    std::string const plain = text.toUTF8();
    // One allocation, for the case that every byte is escaped; what is not needed is cut off at the end.
    String escaped;
    escaped.append(3 * plain.size(), L'\0');
    wxString::iterator next = escaped.begin();
    for (char const c : plain) {
        if (staysAsItIs(c)) {
            *next++ = wchar_t{c};
            continue;
        }
        auto const byte = static_cast<unsigned char>(c);
        *next++ = L'%';
        *next++ = kHexDigits[byte / 16];
        *next++ = kHexDigits[byte % 16];
    }
    escaped.erase(next, escaped.end());
    return escaped;
}

String uriUnescape(String const& text) {
    std::string bytes = text.toUTF8();
    // In place: what is written never overtakes what is read, since no escape is shorter than its byte.
    std::string::iterator last = bytes.begin();
    char const* const end = bytes.data() + bytes.size();
    for (char const* next = bytes.data(); next != end;)
        *last++ = takeByte(next, end);
    bytes.erase(last, bytes.end());
    return String::fromBytes(bytes);
}

} // namespace fdn
