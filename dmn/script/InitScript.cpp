#include <dmn/script/InitScript.h>

#include <fdn/CError.h>
#include <fdn/uri.h>

#include <wx/tokenzr.h>

#include <iterator>

namespace dmn {

namespace {

constexpr wchar_t kVerbs[] = LR"(

case "$1" in
  printControlFolder)
    echo $CONTROLFOLDER
    ;;
  printRunAs)
    echo $RUNAS
    ;;
  printTransientFolderAppID)
    echo $TRANSIENTFOLDERAPPID
    ;;
  printTransientFolderGroup)
    echo $TRANSIENTFOLDERGROUP
    ;;
  printParams)
    echo $RUNPARAMS
    ;;
  printExePath)
    echo $EXEPATH
    ;;
  start)
    echo "Starting $DISPLAYNAME... "
    $EXEPATH --controlFolder=$CONTROLFOLDER --id=$DAEMONID --runas=$RUNAS --transientFolderAppID=$TRANSIENTFOLDERAPPID --transientFolderGroup=$TRANSIENTFOLDERGROUP start
    ;;
  stop)
    echo "Stopping $DISPLAYNAME... "
    $EXEPATH --controlFolder="$CONTROLFOLDER" --id=$DAEMONID stop
    ;;
  restart|force-reload)
    echo "Restarting $DISPLAYNAME: "
    $EXEPATH --controlFolder="$CONTROLFOLDER" --id=$DAEMONID stop
    sleep 1
    $EXEPATH --controlFolder=$CONTROLFOLDER --id=$DAEMONID start
    ;;
  *)
    echo "Usage: $INITFILEPATH {start|stop|restart|force-reload}" >&2
    exit 1
    ;;

esac

exit 0
)";

// Whether the shell takes the text, on the right of an unquoted assignment, as one word that means itself
// (POSIX.1-2017, Shell Command Language, 2.2 Quoting and 2.6.1 Tilde Expansion). None begins with "~": paths
// are absolute, parameters escaped.
bool isPlainWord(fdn::String const& text) {
    return text.find_first_of(" \t\n\"'\\$`;&|<>()") == fdn::String::npos &&
           text.find(":~") == fdn::String::npos;
}

void appendQuoted(fdn::String& script, fdn::String const& text) {
    script += '"';
    for (wxUniChar const c : text) {
        if (c == '"' || c == '\\' || c == '$' || c == '`')
            script += '\\';
        script += c;
    }
    script += '"';
}

// Unquoted values stand in the script as they are, unless the shell would take them apart: it would then run
// the second word as a program, at every call of the script.
void appendAssignment(fdn::String& script, char const* name, fdn::String const& value) {
    script << "\n" << name << "=";
    if (isPlainWord(value))
        script << value;
    else
        appendQuoted(script, value);
}

// The echo of some shells takes a first word such as "-n" as an option and prints nothing of it.
bool isEchoOption(fdn::String const& word) {
    return word.length() > 1 && word[0] == '-' && word.find_first_not_of("neE", 1) == fdn::String::npos;
}

void protectFromEcho(fdn::String& line) {
    if (isEchoOption(line.BeforeFirst(' ')))
        line.replace(0, 1, "%2D");
}

} // namespace

fdn::String composeInitScript(InitScriptValues const& values) {
    fdn::String script;
    // The parameters may be many; everything else is short.
    script.reserve(values.parameterLine.length() + 2 * std::size(kVerbs));
    script << "#!/bin/sh\n"                                                      //
           << "\nDAEMONID=\"" << values.daemonId << "\""                         //
           << "\nRUNAS=\"" << values.runAs << "\""                               //
           << "\nTRANSIENTFOLDERAPPID=\"" << values.transientFolderAppID << "\"" //
           << "\nTRANSIENTFOLDERGROUP=\"" << values.transientFolderGroup << "\"" //
           << "\nDISPLAYNAME=\"" << values.displayName << "\""                   //
           << "\nCONTROLFOLDER=\"" << values.controlFolder.getText() << "\"";
    appendAssignment(script, "EXEPATH", values.exePath.getText());
    appendAssignment(script, "RUNPARAMS", values.parameterLine);
    appendAssignment(script, "INITFILEPATH", values.initFilePath.getText());
    script << kVerbs;
    return script;
}

void requireArguments(fdn::TList<fdn::String> const& params) {
    int number = 0;
    for (fdn::String const& param : params) {
        ++number;
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
