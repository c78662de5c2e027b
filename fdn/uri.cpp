#include <fdn/uri.h>

#include <string>

namespace fdn {

namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";

bool staysAsItIs(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '.' ||
           c == '_' || c == '-';
}

int hexValue(char c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// The byte that the escape at the position stands for, or -1 when there is no escape.
int escapedByteAt(std::string const& text, std::size_t position) {
    if (text[position] != '%' || position + 2 >= text.size())
        return -1;
    int const high = hexValue(text[position + 1]);
    int const low = hexValue(text[position + 2]);
    return high < 0 || low < 0 ? -1 : high * 16 + low;
}

} // namespace

String uriEscape(String const& text) {
    std::string const plain = text.toUTF8();
    std::string escaped;
    escaped.reserve(3 * plain.size());
    for (char const c : plain) {
        if (staysAsItIs(c)) {
            escaped += c;
            continue;
        }
        auto const byte = static_cast<unsigned char>(c);
        escaped += '%';
        escaped += kHexDigits[byte / 16];
        escaped += kHexDigits[byte % 16];
    }
    return String::fromBytes(escaped);
}

String uriUnescape(String const& text) {
    std::string const escaped = text.toUTF8();
    std::string bytes;
    bytes.reserve(escaped.size());
    for (std::size_t i = 0; i < escaped.size(); ++i) {
        int const byte = escapedByteAt(escaped, i);
        bytes += byte < 0 ? escaped[i] : static_cast<char>(byte);
        if (byte >= 0)
            i += 2;
    }
    return String::fromBytes(bytes);
}

} // namespace fdn
