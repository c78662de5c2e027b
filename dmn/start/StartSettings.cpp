#include <dmn/start/StartSettings.h>

#include <fdn/CError.h>
#include <fdn/Path.h>

#include <dmn/script/InitScriptFile.h>

#include <optional>
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

// The runs of the script do not depend on each other, so they go on side by side.
StartSettings readOnce(fdn::String const& id, fdn::Path const& controlFolder) {
    std::optional<SettingReading> storedFolder;
    if (controlFolder.getText().empty())
        storedFolder.emplace(id, setting::kControlFolder);
    SettingReading params(id, setting::kParams);
    SettingReading runAs(id, setting::kRunAs);
    SettingReading transientFolderAppID(id, setting::kTransientFolderAppID);
    SettingReading transientFolderGroup(id, setting::kTransientFolderGroup);
    SettingReading exePath(id, setting::kExePath);

    StartSettings settings;
    settings.controlFolder = storedFolder ? fdn::Path(storedFolder->take()) : controlFolder;
    settings.params = params.take();
    settings.runAs = runAs.take();
    settings.transientFolderAppID = transientFolderAppID.take();
    settings.transientFolderGroup = transientFolderGroup.take();
    settings.exePath = fdn::Path(exePath.take());
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
