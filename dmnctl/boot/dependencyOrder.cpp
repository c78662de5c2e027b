#include <dmnctl/boot/dependencyOrder.h>

#include <dmnctl/boot/OwnFile.h>
#include <dmnctl/boot/tools.h>
#include <dmnctl/show/text.h>

#include <dmn/CDaemonController.h>
#include <dmn/bootSequence.h>

#include <fdn/CError.h>
#include <fdn/files.h>

#include <fmt/core.h>

namespace dmnctl {

namespace {

OwnFile getOverride(fdn::String const& id) {
    return OwnFile("/etc/insserv/overrides", id);
}

// One that a package has brought for a script of this name.
bool hasOverrideOfSystem(fdn::String const& id) {
    return fdn::fileExists(fdn::Path("/usr/share/insserv/overrides") << fdn::Path(id));
}

bool isHeadedByOthers(fdn::String const& id) {
    OwnFile::State const state = getOverride(id).getState();
    return state == OwnFile::State::Foreign || (state == OwnFile::State::Missing && hasOverrideOfSystem(id));
}

std::string composeDescription(fdn::String const& id, dmn::DaemonSettings const& settings) {
    return toUTF8(settings.displayName.empty() ? id : toOneLine(settings.displayName));
}

// The levels are those of an installation for boot, which leaves single user to the administrator.
std::string composeOverride(fdn::String const& id, dmn::DaemonSettings const& settings) {
    return fmt::format("### BEGIN INIT INFO\n"
                       "# Provides:          {}\n"
                       "# Required-Start:    $remote_fs $syslog\n"
                       "# Required-Stop:     $remote_fs $syslog\n"
                       "# Default-Start:     2 3 4 5\n"
                       "# Default-Stop:      0 6\n"
                       "# Short-Description: {}\n"
                       "### END INIT INFO\n",
                       toUTF8(id), composeDescription(id, settings));
}

void writeOverride(OwnFile const& file, std::string const& text, Notices& notices) {
    if (file.holds(text))
        return;
    file.write(text);
    notices.say(fmt::format("Wrote {}.", toPrintable(file.getPath())));
}

void requireName(fdn::String const& id) {
    if (id.StartsWith("-"))
        throw fdn::CError("insserv cannot put '" + id + "' in order: it takes the name for an option.");
    if (id.find_first_of(" \t\n") != fdn::String::npos)
        throw fdn::CError("insserv cannot put '" + id + "' in order: its name holds a blank.");
}

bool isInstalled(fdn::String const& id) {
    return fdn::fileExists(dmn::CDaemonController::getInitScriptPath(id));
}

// After an error, which is the one to report.
void deleteQuietly(fdn::Path const& path) {
    try {
        fdn::deleteFile(path, true, 1, true);
    } catch (fdn::CError const& error) {
        printError(toUTF8(error.getMessage()));
    }
}

// Where there are only links that stop the daemon, insserv goes by them and not by the header.
void order(fdn::String const& id, Notices& notices) {
    fdn::TArray<fdn::Path> const links = dmn::createStartLinks(id);
    try {
        runTool({"insserv", id});
    } catch (...) {
        for (fdn::Path const& link : links)
            deleteQuietly(link);
        throw;
    }
    notices.say(fmt::format("Put {} in the order of insserv.", toPrintable(id)));
}

} // namespace

bool hasOwnOverride(fdn::String const& id) {
    return getOverride(id).getState() == OwnFile::State::Own;
}

void putInOrder(fdn::String const& id, dmn::DaemonSettings const& settings, Notices& notices) {
    requireName(id);
    if (isHeadedByOthers(id))
        return order(id, notices);
    OwnFile const file = getOverride(id);
    bool const isNew = file.getState() == OwnFile::State::Missing;
    writeOverride(file, composeOverride(id, settings), notices);
    try {
        order(id, notices);
    } catch (...) {
        if (isNew)
            deleteQuietly(file.getPath());
        throw;
    }
}

void takeOutOfOrder(fdn::String const& id, Notices& notices) {
    requireName(id);
    if (isInstalled(id)) {
        // It removes the links that stop the daemon as well, and does not make those of the installation
        // again.
        runTool({"insserv", "-r", id});
        dmn::createKillLinks(id);
    } else {
        runTool({"insserv"});
    }
    if (!hasOwnOverride(id))
        return;
    getOverride(id).remove();
    notices.say(fmt::format("Removed {}.", toPrintable(getOverride(id).getPath())));
}

} // namespace dmnctl
