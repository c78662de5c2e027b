#include <dmn/script/ShellWord.h>

#include <cstddef>

namespace dmn {

namespace {

constexpr char kPlain[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-+=./,:@%";

fdn::String characterAt(fdn::String const& text, std::size_t place) {
    return place == fdn::String::npos ? fdn::String() : fdn::String(text.substr(place, 1));
}

} // namespace

fdn::String quoteShellWord(fdn::String const& text) {
    if (!text.empty() && text.find_first_not_of(kPlain) == fdn::String::npos)
        return text;
    fdn::String inner = text;
    inner.Replace("'", "'\\''");
    return "'" + inner + "'";
}

fdn::String quoteShellWord(fdn::Path const& path) {
    return quoteShellWord(path.getText());
}

bool isEchoOption(fdn::String const& word) {
    return word.length() > 1 && word[0] == '-' && word.find_first_not_of("neE", 1) == fdn::String::npos;
}

bool isEchoedUnchanged(fdn::String const& text) {
    // Shells differ in what else they act on: braces, for instance. Only what none of them touches will do.
    bool const isPlain = text.find_first_not_of(fdn::String(kPlain) + " ") == fdn::String::npos;
    return isPlain && !text.StartsWith(" ") && !text.EndsWith(" ") && !text.Contains("  ") &&
           !isEchoOption(text.BeforeFirst(' '));
}

fdn::String findActiveInQuotes(fdn::String const& text) {
    std::size_t const nul = text.find(L'\0');
    return characterAt(text, nul != fdn::String::npos ? nul : text.find_first_of("\"$`\\"));
}

fdn::String findActiveInWord(fdn::String const& text) {
    // Reading a setting back also removes all kinds of white space at its ends.
    return characterAt(text, text.find_first_of(" \t\n\v\f\r*?[\\"));
}

} // namespace dmn
