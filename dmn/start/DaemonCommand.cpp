#include <dmn/start/DaemonCommand.h>

#include <dmn/script/ParameterLine.h>

namespace dmn {

fdn::CExecCommand composeDaemonCommand(fdn::String const& id, StartSettings const& settings) {
    fdn::Path const controlFolder = settings.controlFolder.toNormalized(true, fdn::Path());
    fdn::TArray<fdn::String> arguments{"--id=" + id, "--controlFolder=" + controlFolder.getText(), "daemon"};
    for (fdn::String const& param : splitParameterLine(settings.params))
        arguments.push_back(param);
    return fdn::CExecCommand(settings.exePath, arguments);
}

} // namespace dmn
