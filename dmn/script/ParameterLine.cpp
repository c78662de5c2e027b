#include <dmn/script/ParameterLine.h>

#include <fdn/CError.h>
#include <fdn/uri.h>

#include <dmn/script/ShellWord.h>

#include <wx/tokenzr.h>

#include <iterator>

namespace dmn {

namespace {

void protectFromEcho(fdn::String& line) {
    if (isEchoOption(line.BeforeFirst(' ')))
        line.replace(0, 1, "%2D");
}

} // namespace

void requireArguments(fdn::TList<fdn::String> const& params) {
    int number = 0;
    for (fdn::String const& param : params) {
        ++number;
        // The system's calls take arguments that end with this character (POSIX execve).
        if (param.find(L'\0') != fdn::String::npos)
            throw fdn::CError(
                fdn::String::Format("Invalid run parameter %d: it holds the character NUL.", number));
    }
}

fdn::String composeParameterLine(fdn::TList<fdn::String> const& params) {
    fdn::String line;
    for (auto param = params.begin(); param != params.end(); ++param) {
        line.append(fdn::uriEscape(*param));
        if (std::next(param) != params.end() && !line.empty())
            line.append(" ");
    }
    protectFromEcho(line);
    return line;
}

fdn::TArray<fdn::String> splitParameterLine(fdn::String const& line) {
    fdn::TArray<fdn::String> params;
    wxStringTokenizer pieces(line, " \t\r\n", wxTOKEN_STRTOK);
    while (pieces.HasMoreTokens())
        params.push_back(fdn::uriUnescape(pieces.GetNextToken()));
    return params;
}

} // namespace dmn
