// The reader of init scripts against a real /bin/sh: for any values that are written, and for any text, the
// reader says what running the script prints, or it declines.

#include "FuzzSupport.h"

#include <dmn/script/InitScriptFile.h>
#include <dmn/script/InitScriptText.h>
#include <dmn/script/Shell.h>

#include <fdn/programs.h>

#include <algorithm>
#include <array>
#include <optional>

namespace {

using dmn::InitScriptValues;
using fuzz::require;

constexpr std::size_t kValues = 9;
constexpr char kTextMark = '#'; // of an input that is a script, as every script begins; all others are values

using Texts = std::array<std::string, kValues>;

// In the order of their lines.
InitScriptValues composeValues(std::vector<std::string> const& pieces) {
    return {fuzz::toText(pieces[0]),
            fuzz::toText(pieces[1]),
            fuzz::toText(pieces[2]),
            fuzz::toText(pieces[3]),
            fuzz::toText(pieces[4]),
            fdn::Path(fuzz::toText(pieces[5])),
            fdn::Path(fuzz::toText(pieces[6])),
            fuzz::toText(pieces[7]),
            fdn::Path(fuzz::toText(pieces[8]))};
}

Texts listTexts(InitScriptValues const& values) {
    return {values.daemonId.toUTF8(),
            values.runAs.toUTF8(),
            values.transientFolderAppID.toUTF8(),
            values.transientFolderGroup.toUTF8(),
            values.displayName.toUTF8(),
            values.controlFolder.getText().toUTF8(),
            values.exePath.getText().toUTF8(),
            values.parameterLine.toUTF8(),
            values.initFilePath.getText().toUTF8()};
}

bool hasLineFeed(std::string const& text) {
    return text.find('\n') != std::string::npos;
}

void requireOnShell(std::string const& script, char const* setting, fdn::String const& value) {
    auto const environment = dmn::composeShellEnvironment();
    fdn::CExecCommand const command(fdn::Path("/bin/sh"),
                                    {fuzz::toText(script), fdn::String("print") + setting});
    fdn::String const printed =
        fdn::execSyncReturnOutputAsString(command, true, &environment, fdn::Path("/"));
    require(printed == value + "\n", "the shell prints what the text says");
}

// The reader has to say of the text what every shell would print. Only a text that it takes is ever run.
void compareWithShell(std::string const& text, InitScriptValues const& values) {
    std::string const script = fuzz::inOwnFolder("script");
    fuzz::writeFile(script, text);
    requireOnShell(script, dmn::setting::kControlFolder, values.controlFolder.getText());
    requireOnShell(script, dmn::setting::kRunAs, values.runAs);
    requireOnShell(script, dmn::setting::kTransientFolderAppID, values.transientFolderAppID);
    requireOnShell(script, dmn::setting::kTransientFolderGroup, values.transientFolderGroup);
    requireOnShell(script, dmn::setting::kParams, values.parameterLine);
    requireOnShell(script, dmn::setting::kExePath, values.exePath.getText());
}

void tryText(std::string const& text) {
    std::optional<InitScriptValues> const values = dmn::parseInitScript(text);
    if (!values)
        return;
    require(dmn::composeInitScript(*values).toUTF8() == text, "the writer writes what the reader takes");
    if (dmn::printsItsValues(*values))
        compareWithShell(text, *values);
}

void tryValues(InitScriptValues const& values) {
    Texts const texts = listTexts(values);
    std::string const script = dmn::composeInitScript(values).toUTF8();
    std::optional<InitScriptValues> const read = dmn::parseInitScript(script);
    bool const hasLines = std::any_of(texts.begin(), texts.end(), hasLineFeed);
    require(read.has_value() != hasLines, "the reader takes all that the writer writes in lines");
    require(!read || listTexts(*read) == texts, "the values read back");
    tryText(script);
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string const input = fuzz::toBytes(data, size);
    if (!input.empty() && input.front() == kTextMark)
        tryText(input);
    else
        tryValues(composeValues(fuzz::split(input, kValues)));
    return 0;
}
