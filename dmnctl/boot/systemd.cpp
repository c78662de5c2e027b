#include <dmnctl/boot/systemd.h>

#include <dmnctl/boot/OwnFile.h>
#include <dmnctl/boot/tools.h>
#include <dmnctl/show/text.h>
#include <dmnctl/unit/unit.h>

#include <dmn/bootSequence.h>

#include <fdn/CError.h>
#include <fdn/files.h>

#include <fmt/core.h>

#include <filesystem>
#include <fstream>

namespace dmnctl {

namespace {

constexpr int kFolderMode = 0755;
constexpr char kFolder[] = "/etc/systemd/system";
constexpr char kWants[] = "/etc/systemd/system/multi-user.target.wants";

fdn::Path getUnitName(fdn::String const& id) {
    return fdn::Path(id + ".service");
}

OwnFile getUnit(fdn::String const& id) {
    return OwnFile(kFolder, id + ".service");
}

fdn::Path getLink(fdn::String const& id) {
    return fdn::Path(kWants) << getUnitName(id);
}

bool isLink(fdn::Path const& path) {
    std::error_code ignored;
    return std::filesystem::is_symlink(fdn::toFileName(path).data(), ignored);
}

bool isMask(fdn::Path const& unit) {
    std::error_code ignored;
    return std::filesystem::read_symlink(fdn::toFileName(unit).data(), ignored) == "/dev/null";
}

// "@" would make the unit an instance of another one (systemd.unit(5)).
void requireUnitName(fdn::String const& id) {
    for (wxUniChar const c : id) {
        if (!c.IsAscii() || (std::isalnum(static_cast<char>(c)) == 0 && fdn::String(":-_.").Find(c) < 0))
            throw fdn::CError("No systemd unit can have the name '" + id + "'.");
    }
}

void say(Notices& notices, char const* action, fdn::Path const& path) {
    notices.say(fmt::format("{} {}.", action, toPrintable(path)));
}

void reload() {
    if (dmn::isSystemdRunning())
        runTool({"systemctl", "daemon-reload"});
}

// What `systemctl enable` makes of the unit's [Install] section. Returns whether there was none.
bool createLink(fdn::String const& id) {
    if (isLink(getLink(id)))
        return false;
    fdn::ensureFolderExists(fdn::Path(kWants), kFolderMode);
    fdn::createFileSymLink(getUnit(id).getPath(), getLink(id));
    return true;
}

void removeLink(fdn::String const& id) {
    if (isLink(getLink(id)))
        fdn::deleteFile(getLink(id), true, 1, true);
}

void writeUnit(OwnFile const& unit, std::string const& text, Notices& notices) {
    if (unit.holds(text))
        return;
    unit.write(text);
    say(notices, "Wrote", unit.getPath());
}

// The link comes first. Should this process end in between, what starts the daemon is what did so before,
// whereas a unit that is not enabled would take the place of that.
void writeEnabledUnit(fdn::String const& id, std::string const& text, Notices& notices) {
    bool const isNew = createLink(id);
    try {
        writeUnit(getUnit(id), text, notices);
    } catch (...) {
        if (isNew)
            removeLink(id);
        throw;
    }
    if (isNew)
        say(notices, "Made the link", getLink(id));
}

void requireUnmasked(fdn::Path const& unit) {
    if (isMask(unit))
        throw fdn::CError("The administrator has masked the unit '" + unit.getText() +
                          "'. To undo that: systemctl unmask " + unit.getText().AfterLast('/'));
}

// Whether the daemon has a unit that only its author may change.
bool hasForeignUnit(fdn::String const& id) {
    return !dmn::findSystemdUnit(id).getText().empty() && !hasWrittenUnit(id);
}

void callSystemctl(char const* verb, fdn::String const& id) {
    runTool({"systemctl", verb, "--", getUnitName(id).getText()});
}

void removeWrittenUnit(fdn::String const& id, Notices& notices) {
    removeLink(id);
    getUnit(id).remove();
    say(notices, "Removed", getUnit(id).getPath());
}

} // namespace

void enableUnit(fdn::String const& id, dmn::DaemonSettings const& settings, Notices& notices) {
    requireUnitName(id);
    if (hasForeignUnit(id)) {
        requireUnmasked(dmn::findSystemdUnit(id));
        return callSystemctl("enable", id);
    }
    writeEnabledUnit(id, composeUnit(id, settings), notices);
    reload();
}

bool hasWrittenUnit(fdn::String const& id) {
    return getUnit(id).getState() == OwnFile::State::Own;
}

bool isUnitOutOfDate(fdn::String const& id, dmn::DaemonSettings const& settings) {
    return hasWrittenUnit(id) && !getUnit(id).holds(composeUnit(id, settings));
}

void disableUnit(fdn::String const& id, Notices& notices) {
    if (hasWrittenUnit(id))
        removeWrittenUnit(id, notices);
    else if (hasForeignUnit(id))
        callSystemctl("disable", id);
    else
        removeLink(id); // of a call that was killed
    // Without a unit of its own, the daemon has the one that older releases make of its script.
    if (dmn::startsAtBoot(id, dmn::BootSequence::Systemd)) {
        dmn::removeStartLinks(id);
        notices.say(fmt::format("Removed the start links of {}.", toPrintable(id)));
    }
    reload();
}

bool isInUnit(fdn::String const& id, int process) {
    std::ifstream file(fmt::format("/proc/{}/cgroup", process));
    std::string const end = "/" + toUTF8(id) + ".service";
    for (std::string line; std::getline(file, line);) {
        if (line.size() > end.size() && line.compare(line.size() - end.size(), end.size(), end) == 0)
            return true;
    }
    return false;
}

} // namespace dmnctl
