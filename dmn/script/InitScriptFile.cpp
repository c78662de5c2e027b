#include <dmn/script/InitScriptFile.h>

#include <fdn/CError.h>
#include <fdn/files.h>
#include <fdn/sysError.h>

#include <dmn/id/DaemonId.h>
#include <dmn/init/InitFolder.h>

#include <algorithm>
#include <iterator>

#include <sys/stat.h>

namespace dmn {

namespace {

constexpr int kScriptMode = 0755;

bool isInEveryScript(fdn::String const& name) {
    constexpr char const* settings[] = {
        setting::kControlFolder,        setting::kRunAs,  setting::kTransientFolderAppID,
        setting::kTransientFolderGroup, setting::kParams, setting::kExePath};
    return std::find(std::begin(settings), std::end(settings), name) != std::end(settings);
}

} // namespace

fdn::Path locateInitScript(fdn::String const& id) {
    requireDaemonId(id);
    return findInitFolder("init.d") << fdn::Path(id);
}

void writeInitScript(fdn::Path const& script, fdn::String const& text) {
    fdn::writeUTF8TextFile(script.getText(), text, kScriptMode);
    // The new file's mode obeys the umask, and a replaced file keeps the mode that it had. Not by
    // fdn::CFileRef, whose errors name another action than this one.
    wxCharBuffer const fileName = fdn::toFileName(script); // freed after errno is read
    if (chmod(fileName, kScriptMode) != 0)
        fdn::throwLastSysError("chmod", "CDaemonController::createInitScript", script);
}

SettingReading::SettingReading(fdn::String const& id, fdn::String const& name)
    : m_name(name), m_command(locateInitScript(id), {"print" + name}) {
    try {
        m_output.emplace(run());
    } catch (fdn::CError const&) { // take() tries it once more, when there may be room
    }
}

fdn::String SettingReading::take() {
    fdn::String output = m_output ? m_output->take() : run().take();
    // The script's echo prints a line even for an empty setting. A shell that cannot read the script to its
    // end prints nothing, and its exit status may claim success.
    if (output.empty() && isInEveryScript(m_name))
        throw fdn::CError("The init script '" + m_command.getProgram().getText() +
                          "' has printed nothing for the setting '" + m_name + "'.");
    output.Trim(true).Trim(false);
    return output;
}

fdn::CPendingOutput SettingReading::run() const {
    return fdn::CPendingOutput(m_command, false, nullptr, fdn::Path());
}

fdn::String readSetting(fdn::String const& id, fdn::String const& name) {
    return SettingReading(id, name).take();
}

} // namespace dmn
