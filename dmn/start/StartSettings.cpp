#include <dmn/start/StartSettings.h>

#include <fdn/CError.h>
#include <fdn/Path.h>

#include <dmn/script/ControlFolder.h>
#include <dmn/script/InitScriptFile.h>

#include <tuple>

#include <sys/stat.h>

namespace dmn {

namespace {

constexpr int kReadings = 10;

// What tells this version of the script from any other. All versions of a missing script are the same;
// reading it reports that it is missing.
auto getVersion(fdn::Path const& script) {
    struct stat info = {};
    if (stat(fdn::toFileName(script), &info) != 0)
        info = {};
    return std::make_tuple(info.st_dev, info.st_ino, info.st_size, info.st_mtim.tv_sec, info.st_mtim.tv_nsec,
                           info.st_ctim.tv_sec, info.st_ctim.tv_nsec);
}

StartSettings readOnce(fdn::String const& id, fdn::Path const& controlFolder) {
    StartSettings settings;
    settings.controlFolder = findControlFolder(id, controlFolder);
    settings.params = readSetting(id, setting::kParams);
    settings.runAs = readSetting(id, setting::kRunAs);
    settings.transientFolderAppID = readSetting(id, setting::kTransientFolderAppID);
    settings.transientFolderGroup = readSetting(id, setting::kTransientFolderGroup);
    settings.exePath = fdn::Path(readSetting(id, setting::kExePath));
    return settings;
}

} // namespace

StartSettings readStartSettings(fdn::String const& id, fdn::Path const& controlFolder) {
    fdn::Path const script = locateInitScript(id);
    // Each setting takes a run of the script, and another installation may replace the script in between.
    for (int reading = 0; reading < kReadings; ++reading) {
        auto const before = getVersion(script);
        StartSettings const settings = readOnce(id, controlFolder);
        if (before == getVersion(script))
            return settings;
    }
    throw fdn::CError("The init script '" + script.getText() + "' was changed each time that it was read.");
}

} // namespace dmn
