#include <dmn/start/DaemonCommand.h>

#include <dmn/script/ParameterLine.h>

namespace dmn {

fdn::CExecCommand composeDaemonCommand(fdn::String const& id, fdn::Path const& executable,
                                       fdn::Path const& controlFolder,
                                       fdn::TArray<fdn::String> const& params) {
    fdn::Path const folder = controlFolder.toNormalized(true, fdn::Path());
    fdn::TArray<fdn::String> arguments{"--id=" + id, "--controlFolder=" + folder.getText(), "daemon"};
    arguments.insert(arguments.end(), params.begin(), params.end());
    return fdn::CExecCommand(executable, arguments);
}

fdn::CExecCommand composeDaemonCommand(fdn::String const& id, StartSettings const& settings) {
    return composeDaemonCommand(id, settings.exePath, settings.controlFolder,
                                splitParameterLine(settings.params));
}

} // namespace dmn
