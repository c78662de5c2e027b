#include <dmn/check/ScriptCheck.h>

#include <fdn/CError.h>
#include <fdn/files.h>

#include <dmn/check/FileCheck.h>
#include <dmn/init/InitFolder.h>
#include <dmn/script/InitScriptFile.h>
#include <dmn/script/ScriptLook.h>
#include <dmn/script/ScriptTrial.h>
#include <dmn/script/ShellWord.h>

#include <cerrno>
#include <optional>

#include <fcntl.h>
#include <unistd.h>

namespace dmn {

namespace {

fdn::String describeCharacter(fdn::String const& character) {
    if (character == " ")
        return "a blank";
    if (character == "\n")
        return "a line feed";
    if (character == fdn::String(wxString(L'\0', 1)))
        return "the character NUL";
    return character.find_first_of("\t\v\f\r") == 0 ? fdn::String("white space") : "'" + character + "'";
}

// A line of the report holds the value without its line feeds.
fdn::String describeValue(char const* name, fdn::String value) {
    value.Replace("\n", " ");
    return fdn::String("The ") + name + " '" + value.BeforeFirst(L'\0') + "'";
}

DaemonFinding report(char const* name, fdn::String const& value, fdn::String const& character) {
    return {describeValue(name, value) + " holds " + describeCharacter(character) +
                ", on which the shell acts that runs the init script.",
            ""};
}

void checkQuoted(Findings& findings, char const* name, fdn::String const& value) {
    fdn::String const character = findActiveInQuotes(value);
    if (!character.empty())
        findings.push_back(report(name, value, character));
}

void checkWord(Findings& findings, char const* name, fdn::String const& value) {
    fdn::String const character = findActiveInWord(value);
    if (!character.empty())
        findings.push_back(report(name, value, character));
}

// Between quotes where it is assigned, and without them where it is used.
void checkQuotedWord(Findings& findings, char const* name, fdn::String const& value) {
    std::size_t const before = findings.size();
    checkQuoted(findings, name, value);
    if (findings.size() == before)
        checkWord(findings, name, value);
}

DaemonFinding report(ScriptFault const& fault) {
    fdn::String printed = fault.printed;
    fdn::String expected = fault.expected;
    printed.Replace("\n", " ");
    expected.Replace("\n", " ");
    return {"This machine's shell does not hand on the values of the init script: '" + fault.verb +
                "' gives '" + printed.Trim() + "' instead of '" + expected.Trim() + "'.",
            ""};
}

} // namespace

// The script stores all settings, so nothing else counts before it can be run.
Findings checkScriptFile(fdn::String const& id) {
    try {
        fdn::Path const script = locateInitScript(id);
        if (!fdn::fileExists(script))
            return {{"The daemon '" + id + "' is not installed.", ""}};
        if (!mayBeRun(script))
            return {{"The init script '" + script.getText() + "' may not be run.",
                     "chmod a+x " + quoteShellWord(script)}};
        return {};
    } catch (fdn::CError const& error) {
        return {{error.getMessage(), ""}};
    }
}

// Root's rights end only at a read-only file system. That there is no folder is another check's finding.
Findings checkWritingScript(fdn::String const& id) {
    std::optional<fdn::Path> const folder = searchInitFolder("init.d");
    if (!folder)
        return {};
    fdn::String const script = "The init script '" + (*folder << fdn::Path(id)).getText() + "'";
    if (faccessat(AT_FDCWD, fdn::toFileName(*folder), W_OK, AT_EACCESS) == -1 && errno == EROFS)
        return {{script + " cannot be written: its file system is read-only.", ""}};
    if (isFull(*folder, fdn::String()))
        return {{script + " cannot be written: its file system has no room.", ""}};
    return {};
}

Findings checkScriptValues(InitScriptValues const& values) {
    Findings findings;
    checkQuotedWord(findings, "daemon id", values.daemonId);
    checkQuotedWord(findings, "account", values.runAs);
    checkQuotedWord(findings, "transient folder app id", values.transientFolderAppID);
    checkQuotedWord(findings, "transient folder group", values.transientFolderGroup);
    checkQuoted(findings, "display name", values.displayName);
    checkQuotedWord(findings, "control folder", values.controlFolder.getText());
    checkWord(findings, "executable", values.exePath.getText());
    return findings;
}

Findings tryScriptValues(InitScriptValues const& values) {
    try {
        Findings findings;
        for (ScriptFault const& fault : tryInitScript(values))
            findings.push_back(report(fault));
        return findings;
    } catch (fdn::CUnencodableStringError const&) {
        // The script is written in UTF-8, whatever the locale is; only the trial cannot be.
        return {};
    } catch (fdn::CError const& error) {
        if (error.getCode() == E2BIG)
            return {{"The run parameters and the other values are too long to be tried on the shell.", ""}};
        return {{"The init script could not be tried on the shell: " + error.getMessage(), ""}};
    }
}

} // namespace dmn
