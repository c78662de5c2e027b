#include <dmn/commandline/CommandLine.h>

#include <fdn/CError.h>
#include <fdn/fileName.h>

#include <dmn/commandline/IgnoredAssertions.h>
#include <dmn/commandline/ParserOutput.h>

#include <wx/crt.h>

#include <algorithm>
#include <optional>
#include <string>

namespace dmn {

namespace {

using Texts = std::vector<fdn::String>;

// The parser takes this for an option without a name, and copes with it.
constexpr char kNamelessOption[] = "---";

// Stands for the argument that follows. No option's name ends with it.
constexpr char kNextArgument[] = " ";

constexpr char kHidden[] = "***";

// Whether the parser, if it takes the argument for an option, finds no name in it: it would then look at the
// last character of the empty name.
bool isNameless(fdn::String const& argument) {
    wxString afterDashes;
    if (!argument.StartsWith("--", &afterDashes) || afterDashes.empty())
        return false;
    wxUniChar const first = afterDashes[0];
    return !wxIsalnum(first) && first != '_' && first != '-';
}

// Hands the arguments over as texts. The parser would read bytes by the environment's locale, in which there
// are no umlauts at boot.
void setArguments(wxCmdLineParser& parser, Texts const& texts) {
    std::vector<std::wstring> buffers;
    std::vector<wchar_t*> pointers;
    for (fdn::String const& text : texts)
        buffers.push_back(text.ToStdWstring());
    for (std::wstring& buffer : buffers)
        pointers.push_back(buffer.data());
    parser.SetCmdLine(static_cast<int>(pointers.size()), pointers.data());
}

Texts readArguments(std::vector<char const*> const& arguments) {
    Texts texts;
    for (char const* const argument : arguments)
        texts.push_back(readArgument(argument));
    return texts;
}

// The same arguments, with one that the parser copes with in place of each nameless one. The first is the
// program's name, which is never an option.
Texts makeReadable(Texts texts) {
    if (!texts.empty())
        std::replace_if(texts.begin() + 1, texts.end(), isNameless, fdn::String(kNamelessOption));
    return texts;
}

// Returns the password that the argument gives if it is an option: kNextArgument if the next argument is the
// password, the empty text if there is none. Asks the parser, because only that knows the application's
// options, and several options of one letter may share an argument with the password's.
fdn::String askForPassword(wxCmdLineParser& parser, fdn::String const& argument) {
    NoParserOutput const silent;
    IgnoredAssertions const ignored; // of an option that the application has not declared
    setArguments(parser, makeReadable({fdn::String(), argument, kNextArgument}));
    parser.Parse(false);
    wxString password;
    parser.Found("runas-password", &password);
    return password;
}

} // namespace

fdn::String readArgument(char const* argument) {
    if (argument == nullptr)
        return fdn::String();
    std::optional<fdn::String> const text = fdn::fromFileName(argument);
    if (!text)
        throw fdn::CError("Invalid argument: not all of its bytes are text in the locale's encoding.");
    return *text;
}

CommandLine::CommandLine(int argc, char** argv) : m_arguments(argv, argv + argc) {}

void CommandLine::giveTo(wxCmdLineParser& parser) const {
    setArguments(parser, readArguments(m_arguments));
}

int CommandLine::parse(wxCmdLineParser& parser, Usage usage) const {
    bool const showsUsage = usage == Usage::Shown;
    ParserOutput const output;
    Texts const texts = readArguments(m_arguments);
    Texts const readable = makeReadable(texts);
    if (readable == texts)
        return parser.Parse(showsUsage);
    // This succeeds if no nameless argument stands for an option. Then they can be read as they are.
    setArguments(parser, readable);
    int const result = parser.Parse(showsUsage);
    if (result != 0)
        return result;
    setArguments(parser, texts);
    return parser.Parse(showsUsage);
}

fdn::String CommandLine::describe(wxCmdLineParser& parser) const {
    fdn::String list;
    bool isPassword = false;
    for (std::size_t i = 0; i < m_arguments.size(); ++i) {
        fdn::String const argument = readArgument(m_arguments[i]);
        fdn::String const password = i == 0 ? fdn::String() : askForPassword(parser, argument);
        wxString shown = argument;
        bool const endsWithPassword = !password.empty() && argument.EndsWith(password, &shown);
        if (isPassword || endsWithPassword)
            shown = (isPassword ? wxString() : shown) + kHidden;
        list << (i == 0 ? "" : ", ") << (m_arguments[i] == nullptr ? wxString("NULL") : "\"" + shown + "\"");
        isPassword = !endsWithPassword && password == kNextArgument;
    }
    return list;
}

} // namespace dmn
