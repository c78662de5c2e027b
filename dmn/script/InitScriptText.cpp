#include <dmn/script/InitScriptText.h>

#include <dmn/script/ShellWord.h>

#include <algorithm>
#include <iterator>
#include <string_view>

namespace dmn {

namespace {

/// Takes the values out of the lines of a script. It does not look at anything else: what it has missed shows
/// when the text is composed again.
class ValueReader {
public:
    explicit ValueReader(std::string_view text) : m_rest(text) {}

    void skipLine() { takeLine(); }

    fdn::String takeQuoted() { return fdn::String::fromBytes(std::string(withoutQuotes(takeValue()))); }

    fdn::String takeWord() {
        std::string_view const word = takeValue();
        return fdn::String::fromBytes(word.substr(0, 1) == "\"" ? unescape(withoutQuotes(word))
                                                                : std::string(word));
    }

private:
    std::string_view takeLine() {
        std::string_view const line = m_rest.substr(0, m_rest.find('\n'));
        m_rest.remove_prefix(std::min(line.size() + 1, m_rest.size()));
        return line;
    }

    std::string_view takeValue() {
        std::string_view const line = takeLine();
        std::size_t const sign = line.find('=');
        return sign == std::string_view::npos ? line : line.substr(sign + 1);
    }

    static std::string_view withoutQuotes(std::string_view text) {
        return text.size() < 2 ? text : text.substr(1, text.size() - 2);
    }

    static std::string unescape(std::string_view text) {
        std::string plain;
        for (std::size_t i = 0; i < text.size(); ++i) {
            bool const isEscape = text[i] == '\\' && i + 1 < text.size();
            plain += text[isEscape ? ++i : i];
        }
        return plain;
    }

    std::string_view m_rest;
};

// The members stand in the order of their lines.
InitScriptValues takeValues(std::string_view text) {
    ValueReader reader(text);
    reader.skipLine();
    reader.skipLine();
    InitScriptValues values;
    values.daemonId = reader.takeQuoted();
    values.runAs = reader.takeQuoted();
    values.transientFolderAppID = reader.takeQuoted();
    values.transientFolderGroup = reader.takeQuoted();
    values.displayName = reader.takeQuoted();
    values.controlFolder = fdn::Path(reader.takeQuoted());
    values.exePath = fdn::Path(reader.takeWord());
    values.parameterLine = reader.takeWord();
    values.initFilePath = fdn::Path(reader.takeWord());
    return values;
}

} // namespace

std::optional<InitScriptValues> parseInitScript(std::string const& text) {
    if (!beginsAsInitScript(text))
        return std::nullopt;
    InitScriptValues values = takeValues(text);
    if (composeInitScript(values).toUTF8() != text)
        return std::nullopt;
    return values;
}

bool beginsAsInitScript(std::string const& beginning) {
    std::string_view const head = kInitScriptHead;
    std::size_t const length = std::min(head.size(), beginning.size());
    return beginning.compare(0, length, head, 0, length) == 0;
}

bool printsItsValues(InitScriptValues const& values) {
    // What the script prints, and what it assigns without quotes of its own. The others need not print.
    fdn::String const words[] = {values.runAs,
                                 values.transientFolderAppID,
                                 values.transientFolderGroup,
                                 values.controlFolder.getText(),
                                 values.exePath.getText(),
                                 values.parameterLine,
                                 values.initFilePath.getText()};
    return std::all_of(std::begin(words), std::end(words), isEchoedUnchanged) &&
           findActiveInQuotes(values.daemonId).empty() && findActiveInQuotes(values.displayName).empty();
}

} // namespace dmn
