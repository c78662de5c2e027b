#include <dmnctl/show/text.h>

#include <fdn/CError.h>

#include <fmt/core.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <system_error>

#include <wchar.h>

namespace dmnctl {

namespace {

constexpr std::uint32_t kFirstNarrowControl = 0x7f;
constexpr std::uint32_t kEndOfNarrowControls = 0xa0;

bool isWithin(std::uint32_t character, std::uint32_t first, std::uint32_t last) {
    return character >= first && character <= last;
}

// A line that runs backwards hides what it says (Unicode Standard Annex #9, 2, Directional Formatting
// Characters).
bool changesDirection(std::uint32_t character) {
    return isWithin(character, 0x200e, 0x200f) || isWithin(character, 0x2028, 0x202e) ||
           isWithin(character, 0x2066, 0x2069) || character == 0x61c;
}

bool isControl(std::uint32_t character) {
    return character < ' ' || isWithin(character, kFirstNarrowControl, kEndOfNarrowControls - 1);
}

bool mayMislead(std::uint32_t character) {
    return isControl(character) || changesDirection(character);
}

std::string escape(std::uint32_t character) {
    switch (character) {
    case '\n':
        return "\\n";
    case '\t':
        return "\\t";
    case '\r':
        return "\\r";
    default:
        return character < 0x100 ? fmt::format("\\x{:02x}", character) : fmt::format("\\u{:04x}", character);
    }
}

// What the C library does not know takes a column on most terminals.
int countColumnsOf(wxUniChar character) {
    int const columns = wcwidth(static_cast<wchar_t>(character.GetValue()));
    return columns < 0 ? 1 : columns;
}

} // namespace

std::string toUTF8(fdn::String const& text) {
    return text.toUTF8();
}

std::string toUTF8(fdn::Path const& path) {
    return toUTF8(path.getText());
}

fdn::String fromUTF8(std::string const& text) {
    return fdn::String::fromBytes(text);
}

std::string toPrintable(std::string const& text) {
    return toPrintable(fromUTF8(text));
}

std::string toPrintable(fdn::String const& text) {
    fdn::String line;
    for (wxUniChar const character : text) {
        std::uint32_t const code = character.GetValue();
        if (mayMislead(code))
            line += escape(code);
        else
            line += character;
    }
    return toUTF8(line);
}

std::string escapeJsonForTerminals(std::string const& json) {
    fdn::String escaped;
    for (wxUniChar const character : fromUTF8(json)) {
        std::uint32_t const code = character.GetValue();
        if (code != '\n' && mayMislead(code))
            escaped += fmt::format("\\u{:04x}", code);
        else
            escaped += character;
    }
    return toUTF8(escaped);
}

std::string toPrintable(fdn::Path const& path) {
    return toPrintable(path.getText());
}

fdn::String toOneLine(fdn::String const& text) {
    fdn::String line;
    for (wxUniChar const character : text)
        line += isControl(character.GetValue()) ? wxUniChar(' ') : character;
    return line;
}

int countColumns(std::string const& text) {
    int columns = 0;
    for (wxUniChar const character : fromUTF8(text))
        columns += countColumnsOf(character);
    return columns;
}

std::string cutToColumns(std::string const& text, int columns) {
    if (countColumns(text) <= columns)
        return text;
    fdn::String beginning;
    int rest = columns - 1; // "…" takes one
    for (wxUniChar const character : fromUTF8(text)) {
        rest -= countColumnsOf(character);
        if (rest < 0)
            break;
        beginning += character;
    }
    return columns < 1 ? std::string() : toUTF8(beginning) + "…";
}

bool print(std::string const& text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0)
        return true;
    int const error = errno;
    std::clearerr(stdout);
    if (error == EPIPE)
        return false;
    throw fdn::CError("Standard output cannot be written: " +
                      fdn::String::fromBytes(std::generic_category().message(error)) + ".");
}

void printError(std::string const& text) {
    std::string const line = "dmnctl: " + toPrintable(text) + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
}

} // namespace dmnctl
