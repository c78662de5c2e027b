#include <dmn/script/InitScript.h>

#include <iterator>

namespace dmn {

namespace {

// The text is fixed, and odd in places: the start passes options that the command does not use, the restart
// does without them, and only some lines quote the control folder. Do not repair it: others rely on the text.
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

// Whether the shell takes the text, on the right of an unquoted assignment, as one word that stands for
// itself (POSIX.1-2017, Shell Command Language, 2.2 Quoting and 2.6.1 Tilde Expansion). No text begins with
// "~", because paths are absolute and parameters are escaped.
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

// Writes the value without quotes, as it is, unless the shell would split it: every call of the script would
// then run the second word as a program.
void appendAssignment(fdn::String& script, char const* name, fdn::String const& value) {
    script << "\n" << name << "=";
    if (isPlainWord(value))
        script << value;
    else
        appendQuoted(script, value);
}

} // namespace

fdn::String composeInitScript(InitScriptValues const& values) {
    fdn::String script;
    // There may be many parameters; everything else is short. One allocation holds it all.
    script.reserve(values.parameterLine.length() + 2 * std::size(kVerbs));
    script << kInitScriptHead << values.daemonId << "\""                         //
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

} // namespace dmn
