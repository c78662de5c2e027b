#include <dmnctl/log/printable.h>

#include <cstddef>
#include <string_view>

#include <fmt/core.h>

namespace dmnctl {

namespace {

unsigned char toByte(char character) {
    return static_cast<unsigned char>(character);
}

bool isContinuation(char character) {
    return (toByte(character) & 0xC0) == 0x80;
}

// How many bytes the first one announces; 0 for one that cannot be the first (RFC 3629).
std::size_t getAnnouncedLength(unsigned char first) {
    if (first < 0x80)
        return 1;
    if (first < 0xC2 || first > 0xF4)
        return 0;
    return first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
}

// Whether the second byte makes the character overlong, a half of a surrogate pair, or too large.
bool isBeyond(unsigned char first, unsigned char second) {
    return (first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) ||
           (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F);
}

// The bytes of the character that the text begins with; 0 if it begins with none.
std::size_t measureCharacter(std::string_view text) {
    std::size_t const length = getAnnouncedLength(toByte(text[0]));
    if (length < 2)
        return length;
    if (length > text.size() || isBeyond(toByte(text[0]), toByte(text[1])))
        return 0;
    for (char const character : text.substr(1, length - 1)) {
        if (!isContinuation(character))
            return 0;
    }
    return length;
}

// Terminals act on those between 0x80 and 0x9F too (ISO 6429), which have two bytes in UTF-8.
bool isControl(std::string_view character) {
    if (character.size() == 2)
        return toByte(character[0]) == 0xC2 && toByte(character[1]) < 0xA0;
    return character.size() == 1 && (toByte(character[0]) < 0x20 || toByte(character[0]) == 0x7F);
}

std::string escape(unsigned char byte) {
    if (byte == '\n')
        return "\\n";
    if (byte == '\t')
        return "\\t";
    return fmt::format("\\x{:02x}", byte);
}

} // namespace

std::string toPrintable(std::string const& bytes) {
    std::string printable;
    for (std::string_view rest = bytes; !rest.empty();) {
        std::size_t const length = measureCharacter(rest);
        std::string_view const character = rest.substr(0, length == 0 ? 1 : length);
        if (length == 0 || isControl(character))
            printable += escape(toByte(character.back()));
        else
            printable += character;
        rest.remove_prefix(character.size());
    }
    return printable;
}

} // namespace dmnctl
