#include <fdn/log/XMLText.h>

#include <fdn/log/characters.h>

#include <algorithm>

namespace fdn {

namespace {

// The production Char of XML 1.0 (2.2).
bool isAllowed(wxUint32 code) {
    return code == '\t' || code == '\n' || code == '\r' ||
           (code >= 0x20 && isRepresentable(code) && code != 0xFFFE && code != 0xFFFF);
}

// Whether the character stands for itself, in one byte. It is an object because the compiler does not inline
// a function that is passed by its address.
constexpr auto isPlain = [](wchar_t code) {
    return code >= 0x20 && code < 0x7F && code != '&' && code != '<' && code != '>';
};

void appendEscaped(std::wstring& escaped, wxUint32 code) {
    if (!isAllowed(code))
        escaped += kReplacementCharacter;
    else if (code == '&')
        escaped += L"&amp;";
    else if (code == '<')
        escaped += L"&lt;";
    else if (code == '>')
        escaped += L"&gt;";
    else if (isControlCharacter(code))
        escaped += L"&#" + std::to_wstring(code) + L";";
    else
        escaped += static_cast<wchar_t>(code);
}

} // namespace

std::string toXMLText(String const& text) {
    wchar_t const* const characters = text.wc_str();
    if (std::all_of(characters, characters + text.length(), isPlain)) // as most texts are
        return std::string(characters, characters + text.length());
    std::wstring escaped;
    for (wxUniChar const character : text)
        appendEscaped(escaped, character.GetValue());
    return String(escaped.c_str()).toUTF8();
}

std::string toXMLAttribute(String const& text) {
    std::string value;
    for (char const character : toXMLText(text)) {
        if (character == '"')
            value += "&quot;";
        else
            value += character;
    }
    return value;
}

} // namespace fdn
