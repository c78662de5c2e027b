#include <dmn/service/InstallText.h>

#include <dmn/script/InitScriptFile.h>
#include <dmn/service/Table.h>

namespace dmn {

fdn::String describeInstallation(CDaemonInfo const& info, fdn::String const& id,
                                 fdn::Path const& controlFolder) {
    Table table;
    table.addRow("Script:", locateInitScript(id).getText());
    table.addRow("Links:", info.startAtBoot ? "started in the run levels 2 to 5, stopped in 0 and 6"
                                            : "stopped in the run levels 0 and 6");
    table.addRow("Program:", info.exePath.getText());
    table.addRow("Control folder:", controlFolder.getText());
    return id + " is installed.\n" + table.compose();
}

} // namespace dmn
