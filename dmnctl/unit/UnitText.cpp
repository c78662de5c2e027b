#include <dmnctl/unit/UnitText.h>

#include <dmnctl/show/text.h>

#include <fdn/CError.h>
#include <fdn/fileName.h>

#include <fmt/core.h>

#include <algorithm>
#include <cctype>
#include <cstring>

namespace dmnctl {

namespace {

[[noreturn]] void refuse(std::string const& name, fdn::String const& text, char const* reason) {
    throw fdn::CError(
        fromUTF8(fmt::format("No systemd unit can hold {}, '{}': {}.", name, toUTF8(text), reason)));
}

// systemd hands on the bytes of its files, which are UTF-8. A program that was installed in another encoding
// would be looked for under another name.
std::string encode(std::string const& name, fdn::String const& text) {
    std::string const bytes = fdn::toFileName(text).data();
    if (bytes != toUTF8(text))
        refuse(name, text, "it is not in UTF-8");
    return bytes;
}

bool isControl(char c) {
    return static_cast<unsigned char>(c) < ' ' || c == '\x7f';
}

bool holdsControl(std::string const& text) {
    return std::any_of(text.begin(), text.end(), isControl);
}

std::string doubleAll(std::string const& text, std::string const& doubled) {
    std::string result;
    for (char const c : text)
        result.append(doubled.find(c) == std::string::npos ? 1 : 2, c);
    return result;
}

// Where systemd unescapes what stands in quotes.
std::string escapeQuoted(std::string const& text) {
    std::string result;
    for (char const c : text) {
        if (isControl(c))
            result += fmt::format("\\x{:02x}", static_cast<unsigned char>(c));
        else if (c == '"' || c == '\\')
            result += {'\\', c};
        else
            result += c;
    }
    return result;
}

// The text in quotes, unless it is plain: most words are, and people read them more easily without.
std::string quote(std::string const& text) {
    auto const isPlain = [](unsigned char c) {
        return std::isalnum(c) != 0 || std::strchr("-./=_", c) != nullptr;
    };
    return !text.empty() && std::all_of(text.begin(), text.end(), isPlain) ? text : '"' + text + '"';
}

} // namespace

std::string composeUnitLine(std::string const& name, fdn::String const& text) {
    std::string const line = encode(name, text);
    if (holdsControl(line))
        refuse(name, text, "it holds a control character");
    if (line.empty() || line.front() == ' ' || line.back() == ' ' || line.back() == '\\')
        refuse(name, text, "it is empty, or begins with a blank or ends in one or in a backslash");
    return doubleAll(line, "%");
}

// Releases differ in what else they make of such a word.
std::string composeUnitWord(std::string const& name, fdn::String const& text) {
    std::string const word = encode(name, text);
    if (holdsControl(word) || word.find_first_of("\"'\\:") != std::string::npos)
        refuse(name, text, "it holds a quote, a backslash, a colon or a control character");
    return quote(doubleAll(word, "%"));
}

// No "$" is expanded here, so none is doubled.
std::string composeUnitProgram(std::string const& name, fdn::String const& path) {
    std::string const program = encode(name, path);
    if (holdsControl(program) || program.find_first_of("\"'\\") != std::string::npos)
        refuse(name, path, "it holds a quote, a backslash or a control character");
    return quote(doubleAll(program, "%"));
}

std::string composeUnitArgument(std::string const& name, fdn::String const& text) {
    return quote(doubleAll(escapeQuoted(encode(name, text)), "%$"));
}

} // namespace dmnctl
