#include <dmn/installedDaemons.h>

#include <fdn/CError.h>
#include <fdn/files.h>

#include <dmn/init/InitFolder.h>
#include <dmn/script/InitScriptFile.h>
#include <dmn/script/ParameterLine.h>
#include <dmn/start/DaemonCommand.h>
#include <dmn/start/StartSettings.h>

namespace dmn {

fdn::TList<fdn::String> findInstalledDaemons() {
    return {};
}

void requireInstalledDaemon(fdn::String const& id) {
    if (!fdn::fileExists(locateInitScript(id)))
        throw fdn::CError("No daemon '" + id + "' is installed.");
}

DaemonSettings readDaemonSettings(fdn::String const& id) {
    requireInstalledDaemon(id);
    StartSettings const stored = readStartSettings(id, fdn::Path());
    DaemonSettings settings;
    settings.controlFolder = stored.controlFolder;
    settings.executable = stored.exePath;
    settings.params = splitParameterLine(stored.params);
    settings.runAs = stored.runAs;
    settings.transientFolderAppID = stored.transientFolderAppID;
    settings.transientFolderGroup = stored.transientFolderGroup;
    return settings;
}

fdn::CExecCommand composeDaemonCommand(fdn::String const& id, DaemonSettings const& settings) {
    StartSettings stored;
    stored.controlFolder = settings.controlFolder;
    stored.exePath = settings.executable;
    fdn::TList<fdn::String> const params(settings.params.begin(), settings.params.end());
    stored.params = composeParameterLine(params);
    return composeDaemonCommand(id, stored);
}

} // namespace dmn
