#include <dmn/script/ControlFolder.h>

#include <fdn/CError.h>
#include <fdn/files.h>

#include <dmn/script/InitScriptFile.h>

namespace dmn {

fdn::Path findControlFolder(fdn::String const& id, fdn::Path const& given) {
    return given.getText().empty() ? fdn::Path(readSetting(id, setting::kControlFolder)) : given;
}

void requireControlFolder(fdn::String const& id, fdn::Path const& controlFolder) {
    if (controlFolder.getText().empty())
        throw fdn::CError("The daemon '" + id +
                          "' has no control folder, so nobody can tell where its PID file is.");
    if (fdn::isSilent(controlFolder))
        throw fdn::CError("The control folder '" + controlFolder.getText() +
                          "' is on a file system that does not answer.");
}

} // namespace dmn
