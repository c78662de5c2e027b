#include <dmn/start/StartSettings.h>

#include <dmn/CDaemonController.h>

#include <fdn/CError.h>
#include <fdn/files.h>

#include <sys/stat.h>

namespace dmn {

namespace {

constexpr int kReadings = 10;

// Nothing but zeros for a script that is not there; reading it says so.
struct stat lookAt(fdn::Path const& script) {
    struct stat info = {};
    if (stat(fdn::toFileName(script), &info) != 0)
        info = {};
    return info;
}

bool isSame(timespec const& one, timespec const& other) {
    return one.tv_sec == other.tv_sec && one.tv_nsec == other.tv_nsec;
}

bool isSame(struct stat const& one, struct stat const& other) {
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino && one.st_size == other.st_size &&
           isSame(one.st_mtim, other.st_mtim) && isSame(one.st_ctim, other.st_ctim);
}

StartSettings readOnce(fdn::String const& id, fdn::Path const& controlFolder) {
    StartSettings settings;
    settings.controlFolder =
        controlFolder.getText().empty() ? CDaemonController::getControlFolder(id) : controlFolder;
    settings.params = CDaemonController::getDaemonParams(id);
    settings.runAs = CDaemonController::getDaemonRunAs(id);
    settings.transientFolderAppID = CDaemonController::getDaemonTransientFolderAppID(id);
    settings.transientFolderGroup = CDaemonController::getDaemonTransientFolderGroup(id);
    settings.exePath = CDaemonController::getDaemonExePath(id);
    return settings;
}

} // namespace

// Each setting is read by a run of the script, and another installation may replace the script in between.
StartSettings readStartSettings(fdn::String const& id, fdn::Path const& controlFolder) {
    fdn::Path const script = CDaemonController::getInitScriptPath(id);
    for (int reading = 0; reading < kReadings; ++reading) {
        struct stat const before = lookAt(script);
        StartSettings const settings = readOnce(id, controlFolder);
        if (isSame(before, lookAt(script)))
            return settings;
    }
    throw fdn::CError("The init script '" + script.getText() + "' was changed each time that it was read.");
}

} // namespace dmn
