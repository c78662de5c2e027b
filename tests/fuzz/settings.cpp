// Settings in the init script: a real /bin/sh reads back what was stored and, whatever is stored, the script
// neither writes anything else nor fails.

#include "FuzzSupport.h"

#include <dmn/script/InitScript.h>
#include <dmn/script/ParameterLine.h>

#include <fdn/programs.h>

#include <algorithm>

#include <sys/stat.h>

namespace {

using fuzz::require;

constexpr std::size_t kParams = 4;

// The script does not promise this for every path; CDaemonInfo::exePath says for which.
bool isReadBack(std::string const& path) {
    return path.find_first_of("\\*?[\t\n") == std::string::npos && path.find("  ") == std::string::npos &&
           path.find('\0') == std::string::npos;
}

std::string askScript(fdn::Path const& script, char const* verb) {
    fdn::CExecCommand const command(script, {verb});
    fdn::String answer = fdn::execSyncReturnOutputAsString(command, true, nullptr, fdn::Path());
    answer.Trim(true).Trim(false);
    return answer.toUTF8();
}

fdn::TArray<fdn::String> withoutEmpty(fdn::TList<fdn::String> const& params) {
    fdn::TArray<fdn::String> kept;
    std::copy_if(params.begin(), params.end(), std::back_inserter(kept),
                 [](fdn::String const& param) { return !param.empty(); });
    return kept;
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::vector<std::string> const pieces = fuzz::split(fuzz::toBytes(data, size), kParams + 1);
    std::string const name = fuzz::inOwnFolder("script");
    fdn::Path const script(fuzz::toText(name));
    dmn::InitScriptValues values;
    values.daemonId = "fuzz";
    values.controlFolder = fdn::Path("/var/lib/fuzz");
    values.initFilePath = script;
    fdn::String exePath = "/" + fuzz::toText(isReadBack(pieces[0]) ? pieces[0] : "program");
    values.exePath = fdn::Path(exePath.Trim());
    fdn::TList<fdn::String> params;
    for (std::size_t i = 1; i < pieces.size(); ++i)
        params.push_back(fuzz::toText(pieces[i]));
    values.parameterLine = dmn::composeParameterLine(params);

    fuzz::writeFile(name, dmn::composeInitScript(values).toUTF8());
    chmod(name.c_str(), 0755);

    require(askScript(script, "printExePath") == values.exePath.getText().toUTF8(),
            "the executable's path reads back");
    require(dmn::splitParameterLine(fuzz::toText(askScript(script, "printParams"))) == withoutEmpty(params),
            "the run parameters read back");
    require(askScript(script, "printRunAs").empty(), "what was not stored is empty");
    return 0;
}
