#include <dmn/start/InstalledSettings.h>

#include <dmn/script/ControlFolder.h>
#include <dmn/script/InitScriptFile.h>
#include <dmn/script/ScriptLook.h>

#include <optional>

namespace dmn {

namespace {

std::optional<StartSettings> readText(fdn::String const& id) {
    fdn::Path const script = locateInitScript(id);
    ScriptLook const look = lookAtScript(script);
    if (!tellsWhatItPrints(script, look))
        return std::nullopt;
    return selectStartSettings(*look.values);
}

} // namespace

StartSettings readInstalledSettings(fdn::String const& id, fdn::Path const& controlFolder) {
    std::optional<StartSettings> settings = readText(id);
    if (!settings)
        return readStartSettings(id, controlFolder);
    if (!controlFolder.getText().empty())
        settings->controlFolder = controlFolder;
    return *settings;
}

fdn::Path findInstalledControlFolder(fdn::String const& id, fdn::Path const& given) {
    if (!given.getText().empty())
        return given;
    std::optional<StartSettings> const settings = readText(id);
    return settings ? settings->controlFolder : findControlFolder(id, given);
}

StartSettings selectStartSettings(InitScriptValues const& values) {
    StartSettings settings;
    settings.controlFolder = values.controlFolder;
    settings.params = values.parameterLine;
    settings.runAs = values.runAs;
    settings.transientFolderAppID = values.transientFolderAppID;
    settings.transientFolderGroup = values.transientFolderGroup;
    settings.exePath = values.exePath;
    return settings;
}

} // namespace dmn
