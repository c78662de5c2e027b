#include <dmn/daemonStatus.h>

#include <fdn/CError.h>
#include <fdn/CPIDFile.h>
#include <fdn/files.h>
#include <fdn/sysError.h>

#include <dmn/id/DaemonId.h>
#include <dmn/init/InitFolder.h>
#include <dmn/script/ControlFolder.h>
#include <dmn/start/DaemonLog.h>
#include <dmn/start/InstalledSettings.h>

#include <cerrno>
#include <optional>
#include <tuple>

#include <sys/stat.h>

namespace dmn {

namespace {

constexpr int kLooks = 10;
constexpr int kRunning = 0;
constexpr int kDead = 1;
constexpr int kNotRunning = 3;
constexpr int kUnknown = 4;

bool hasInitScript(fdn::String const& id) {
    std::optional<fdn::Path> const folder = searchInitFolder("init.d");
    return folder && fdn::fileExists(*folder << fdn::Path(id));
}

/// What tells a file from every other that was ever at its path.
using FileVersion = std::tuple<dev_t, ino_t, time_t, long>;

// Of a link, its own. Nothing when nothing is there.
std::optional<FileVersion> getVersion(fdn::Path const& file) {
    struct stat info = {};
    wxCharBuffer const name = fdn::toFileName(file); // freed after errno is read
    if (lstat(name, &info) == 0)
        return FileVersion(info.st_dev, info.st_ino, info.st_ctim.tv_sec, info.st_ctim.tv_nsec);
    if (errno != ENOENT && errno != ENOTDIR)
        fdn::throwLastSysError("lstat", "getDaemonStatus", file);
    return std::nullopt;
}

void lookAtPIDFile(fdn::Path const& file, DaemonStatus& status) {
    status.state = status.isInstalled ? DaemonState::Stopped : DaemonState::NotInstalled;
    std::optional<FileVersion> before = getVersion(file);
    // Daemons come and go meanwhile: only a file that is there before and after the look was not held then.
    for (int look = 0; before && look < kLooks; ++look) {
        status.process = fdn::CPIDFile::getActivePID(file);
        if (status.process > 0) {
            status.state = DaemonState::Running;
            return;
        }
        std::optional<FileVersion> const after = getVersion(file);
        if (before == after) {
            status.state = status.isInstalled ? DaemonState::Dead : DaemonState::NotInstalled;
            return;
        }
        before = after;
    }
}

void look(fdn::String const& id, DaemonStatus& status) {
    status.isInstalled = hasInitScript(id);
    if (status.isInstalled)
        status.controlFolder = findInstalledControlFolder(id, status.controlFolder);
    else if (status.controlFolder.getText().empty()) {
        status.state = DaemonState::NotInstalled;
        return;
    }
    requireControlFolder(id, status.controlFolder);
    lookAtPIDFile(getPIDFilePath(status.controlFolder, id), status);
}

} // namespace

DaemonStatus getDaemonStatus(fdn::String const& id, fdn::Path const& controlFolder) {
    requireDaemonId(id);
    DaemonStatus status;
    status.controlFolder = controlFolder;
    try {
        look(id, status);
    } catch (fdn::CError const& error) {
        status.state = DaemonState::Unknown;
        status.process = 0;
        status.reason = error.getMessage();
    }
    return status;
}

int getExitStatusOf(DaemonState state) noexcept {
    switch (state) {
    case DaemonState::Running:
        return kRunning;
    case DaemonState::Dead:
        return kDead;
    case DaemonState::Stopped:
        return kNotRunning;
    case DaemonState::NotInstalled:
    case DaemonState::Unknown:
        break;
    }
    return kUnknown;
}

fdn::Path getDaemonLogFile(fdn::String const& id) {
    StartSettings const settings = readInstalledSettings(id, fdn::Path());
    return locateDaemonLog(settings.exePath, settings.runAs);
}

} // namespace dmn
