#include <dmn/installedDaemons.h>

#include <fdn/CError.h>
#include <fdn/CFileSystemIterator.h>
#include <fdn/sysError.h>

#include <dmn/id/DaemonId.h>
#include <dmn/init/InitFolder.h>
#include <dmn/script/InitScriptFile.h>
#include <dmn/script/ParameterLine.h>
#include <dmn/script/ScriptLook.h>
#include <dmn/script/ShellWord.h>
#include <dmn/start/DaemonCommand.h>
#include <dmn/start/InstalledSettings.h>

#include <cerrno>
#include <optional>
#include <set>

namespace dmn {

namespace {

using Kind = ScriptLook::Kind;

// The first character in the values on which a shell acts between double quotes. Whoever runs such a script
// may run any command, so only what has to do so does.
fdn::String findActiveCharacter(InitScriptValues const& values) {
    return findActiveInQuotes(values.daemonId + values.runAs + values.transientFolderAppID +
                              values.transientFolderGroup + values.displayName +
                              values.controlFolder.getText());
}

bool isScriptOf(fdn::String const& id, ScriptLook const& look) {
    return look.kind == Kind::Own && look.values->daemonId == id && findActiveCharacter(*look.values).empty();
}

[[noreturn]] void throwUnreadable(fdn::Path const& script, ScriptLook const& look) {
    fdn::throwSysError(look.error,
                       {{"func", "read"}, {"action", "lookAtScript"}, {"path", script.getText()}});
}

// A file that only others may read is theirs. Anything else that goes wrong would hide daemons.
bool isDaemon(fdn::String const& name, fdn::Path const& script) {
    ScriptLook const look = lookAtScript(script);
    if (look.kind == Kind::Unreadable && look.error != EACCES && look.error != EPERM)
        throwUnreadable(script, look);
    return isScriptOf(name, look);
}

[[noreturn]] void refuse(fdn::String const& id, fdn::Path const& script, fdn::String const& reason) {
    throw fdn::CError("No daemon '" + id + "' is installed: '" + script.getText() + "' " + reason);
}

void requireScriptOf(fdn::String const& id, fdn::Path const& script, ScriptLook const& look) {
    switch (look.kind) {
    case Kind::Missing:
        refuse(id, script, "does not exist.");
    case Kind::Link:
        refuse(id, script, "is a symbolic link, which no installation makes.");
    case Kind::NoFile:
        refuse(id, script, "is no regular file.");
    case Kind::Unreadable:
        throwUnreadable(script, look);
    case Kind::Foreign:
        refuse(id, script, "is another program's script, or somebody has changed it since the installation.");
    case Kind::Own:
        break;
    }
    if (look.values->daemonId != id)
        refuse(id, script, "is the script of the daemon '" + look.values->daemonId + "'.");
    fdn::String const active = findActiveCharacter(*look.values);
    if (!active.empty())
        refuse(id, script, "has a setting with '" + active + "', on which the shell acts.");
}

DaemonSettings describe(StartSettings const& stored) {
    DaemonSettings settings;
    settings.controlFolder = stored.controlFolder;
    settings.executable = stored.exePath;
    settings.params = splitParameterLine(stored.params);
    settings.runAs = stored.runAs;
    settings.transientFolderAppID = stored.transientFolderAppID;
    settings.transientFolderGroup = stored.transientFolderGroup;
    return settings;
}

} // namespace

fdn::TList<fdn::String> findInstalledDaemons() {
    std::optional<fdn::Path> const folder = searchInitFolder("init.d");
    if (!folder)
        return {};
    // A name that is no text may look like another one.
    std::set<fdn::String> ids;
    fdn::CFileSystemIterator entry(*folder);
    while (entry.next()) {
        fdn::String const& name = entry.getItemName();
        if (isDaemonId(name) && isDaemon(name, *folder << fdn::Path(name)))
            ids.insert(name);
    }
    return {ids.begin(), ids.end()};
}

void requireInstalledDaemon(fdn::String const& id) {
    fdn::Path const script = locateInitScript(id);
    requireScriptOf(id, script, lookAtScript(script));
}

DaemonSettings readDaemonSettings(fdn::String const& id) {
    fdn::Path const script = locateInitScript(id);
    ScriptLook const look = lookAtScript(script);
    requireScriptOf(id, script, look);
    if (!tellsWhatItPrints(script, look))
        return describe(readStartSettings(id, fdn::Path()));
    DaemonSettings settings = describe(selectStartSettings(*look.values));
    settings.displayName = look.values->displayName;
    return settings;
}

fdn::CExecCommand composeDaemonCommand(fdn::String const& id, DaemonSettings const& settings) {
    return composeDaemonCommand(id, settings.executable, settings.controlFolder, settings.params);
}

} // namespace dmn
