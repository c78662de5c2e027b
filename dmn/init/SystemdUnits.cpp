#include <dmn/init/SystemdUnits.h>

#include <fdn/Path.h>
#include <fdn/fileName.h>

#include <dmn/init/FileQuestions.h>

#include <algorithm>
#include <iterator>
#include <string>

namespace dmn {

namespace {

namespace fs = std::filesystem;

constexpr char kGenerator[] = "systemd-sysv-generator";

// The first of these that has a generator or unit decides, whatever it has: it may be a mask.
constexpr char const* kGeneratorFolders[] = {
    "/run/systemd/system-generators", "/etc/systemd/system-generators",
    "/usr/local/lib/systemd/system-generators", "/usr/lib/systemd/system-generators",
    "/lib/systemd/system-generators"};
constexpr char const* kUnitFolders[] = {"/etc/systemd/system", "/run/systemd/system",
                                        "/usr/local/lib/systemd/system", "/usr/lib/systemd/system",
                                        "/lib/systemd/system"};
constexpr char const* kEnablingFolders[] = {"/etc/systemd/system", "/run/systemd/system"};

bool isEntry(fs::path const& path) {
    std::error_code ignored;
    return fs::symlink_status(path, ignored).type() != fs::file_type::not_found &&
           fs::symlink_status(path, ignored).type() != fs::file_type::none;
}

template <class Folders>
fs::path findFirst(Folders const& folders, std::string const& name) {
    auto const hasName = [&](char const* folder) { return isEntry(fs::path(folder) / name); };
    auto const found = std::find_if(std::begin(folders), std::end(folders), hasName);
    return found == std::end(folders) ? fs::path() : fs::path(*found) / name;
}

bool isProgram(fs::path const& path) {
    std::error_code ignored;
    fs::file_status const status = fs::status(path, ignored);
    return status.type() == fs::file_type::regular &&
           (status.permissions() & fs::perms::owner_exec) != fs::perms::none;
}

std::string unitOf(fdn::String const& id) {
    return std::string(fdn::toFileName(id).data()) + ".service";
}

// Links to units are in folders such as multi-user.target.wants.
bool isWantedIn(char const* folder, std::string const& unit) {
    std::error_code error;
    fs::directory_iterator entries(folder, error);
    for (; !error && entries != fs::directory_iterator(); entries.increment(error)) {
        std::string const extension = entries->path().extension().string();
        if ((extension == ".wants" || extension == ".requires") && isEntry(entries->path() / unit))
            return true;
    }
    return false;
}

bool isMasked(fs::path const& unit) {
    std::error_code ignored;
    return fs::read_symlink(unit, ignored) == "/dev/null";
}

} // namespace

bool isSystemdInit() {
    std::error_code ignored;
    return fs::read_symlink("/sbin/init", ignored).filename() == "systemd";
}

bool doesSystemdReadScripts() {
    return isProgram(findFirst(kGeneratorFolders, kGenerator));
}

fdn::Path findOwnUnit(fdn::String const& id) {
    fs::path const folder = findFirst(kUnitFolders, unitOf(id)).parent_path();
    return folder.empty() ? fdn::Path() : fdn::Path(folder.c_str()) << fdn::Path(id + ".service");
}

bool hasOwnUnit(fdn::String const& id) {
    return !findOwnUnit(id).getText().empty();
}

bool isOwnUnitEnabled(fdn::String const& id) {
    auto const isWanted = [&](char const* folder) { return isWantedIn(folder, unitOf(id)); };
    return !isMasked(findFirst(kUnitFolders, unitOf(id))) &&
           std::any_of(std::begin(kEnablingFolders), std::end(kEnablingFolders), isWanted);
}

bool hasGeneratedUnit(fdn::String const& id) {
    return seemsThere(fdn::Path("/run/systemd/generator.late") << fdn::Path(id + ".service"));
}

} // namespace dmn
