#include <dmnctl/unit/unit.h>

#include <dmnctl/commandline/exitStatus.h>
#include <dmnctl/selection/selection.h>
#include <dmnctl/show/text.h>
#include <dmnctl/unit/UnitText.h>

#include <dmn/installedDaemons.h>

#include <fdn/CError.h>
#include <fdn/CSystemAccountManager.h>
#include <fdn/fileName.h>

#include <fmt/core.h>

#include <pwd.h>

namespace dmnctl {

namespace {

// Longer lines are an error of the whole file (systemd.syntax(7)).
constexpr std::size_t kLongestLine = 1024 * 1024 - 1;

// A name for people need not be exact: what would end its line, or continue it on the next one, becomes a
// blank.
std::string composeDescription(fdn::String const& id, dmn::DaemonSettings const& settings) {
    fdn::String name = toOneLine(settings.displayName);
    name.Replace(L"\\", L" ");
    name.Trim(true).Trim(false);
    return composeUnitLine("the display name", name.empty() ? id : name);
}

std::string composeCommand(fdn::String const& id, dmn::DaemonSettings const& settings) {
    fdn::CExecCommand const command = dmn::composeDaemonCommand(id, settings);
    std::string line = composeUnitProgram("the program", command.getProgram().getText());
    for (fdn::String const& argument : command.getArguments())
        line += ' ' + composeUnitArgument("an argument of the program", argument);
    if (line.size() > kLongestLine - std::string("ExecStart=").size())
        throw fdn::CError("No systemd unit can hold a command line of more than 1 MiB, as that of '" + id +
                          "' is.");
    return line;
}

std::string composeAccount(dmn::DaemonSettings const& settings) {
    return settings.runAs.empty() ? "" : "User=" + composeUnitLine("the account", settings.runAs) + '\n';
}

fdn::String getUser(dmn::DaemonSettings const& settings) {
    return settings.runAs.empty() ? fdn::String("root") : settings.runAs;
}

gid_t findPrimaryGroup(fdn::String const& user) {
    passwd const* const entry = getpwnam(fdn::toFileName(user));
    if (entry == nullptr)
        throw fdn::CError("The account '" + user + "' does not exist.");
    return entry->pw_gid;
}

fdn::CSystemGroupID findTransientFolderGroup(dmn::DaemonSettings const& settings) {
    bool const isSet = !settings.transientFolderGroup.empty();
    return fdn::CSystemAccountManager::get().getGroupID(isSet ? settings.transientFolderGroup
                                                              : getUser(settings));
}

// systemd gives the folder to the account's primary group, and back to it each time that it runs a command of
// the unit.
std::string composeOwnTransientFolder(dmn::DaemonSettings const& settings) {
    return fmt::format("RuntimeDirectory={}\n"
                       "RuntimeDirectoryMode=0750\n"
                       "# As with every init, the folder stays until the machine goes down.\n"
                       "RuntimeDirectoryPreserve=yes\n",
                       composeUnitWord("the name of the transient folder", settings.transientFolderAppID));
}

std::string composeTransientFolderOfGroup(dmn::DaemonSettings const& settings, fdn::String const& group) {
    return fmt::format("# RuntimeDirectory= cannot give the folder to a group that is not the account's.\n"
                       "ExecStartPre=+/usr/bin/install -d -m 0750 -o {} -g {} -- {}\n",
                       composeUnitArgument("the account", getUser(settings)),
                       composeUnitArgument("the group of the transient folder", group),
                       composeUnitArgument("the transient folder", "/run/" + settings.transientFolderAppID));
}

std::string composeTransientFolder(dmn::DaemonSettings const& settings) {
    fdn::String const& name = settings.transientFolderAppID;
    if (name.empty())
        return "";
    // systemd keeps such a folder for itself.
    if (name == "private")
        throw fdn::CError("No systemd unit can have the transient folder '/run/private'.");
    fdn::CSystemGroupID const group = findTransientFolderGroup(settings);
    return group.getGID() == findPrimaryGroup(getUser(settings))
               ? composeOwnTransientFolder(settings)
               : composeTransientFolderOfGroup(settings, group.getName());
}

std::string composeControlFolder(dmn::DaemonSettings const& settings) {
    if (settings.controlFolder.getText().empty())
        throw fdn::CError("The daemon has no control folder, so nobody can tell where its PID file is.");
    std::string const name = "the control folder";
    fdn::Path const folder = settings.controlFolder.toNormalized(true, fdn::Path());
    return fmt::format("# The control folder. The account itself makes a missing one, where it may.\n"
                       "WorkingDirectory=-{}\n"
                       "ExecStartPre=/bin/mkdir -p -- {}\n",
                       composeUnitLine(name, folder.getText()), composeUnitArgument(name, folder.getText()));
}

bool isBelow(dmn::DaemonSettings const& settings, char const* folder) {
    return settings.controlFolder.getText().StartsWith(folder);
}

// Whoever keeps its PID file where systems keep programs must be able to write there.
std::string composeProtection(dmn::DaemonSettings const& settings) {
    bool const isAmongPrograms = isBelow(settings, "/usr/") && !isBelow(settings, "/usr/local/");
    if (isAmongPrograms || isBelow(settings, "/boot/") || isBelow(settings, "/efi/"))
        return "";
    return "ProtectSystem=yes\n"
           "ReadWritePaths=-/usr/local\n";
}

} // namespace

std::string composeUnit(fdn::String const& id, dmn::DaemonSettings const& settings) {
    // There is no KillMode=mixed, for which systemd must know the main process: it would kill at once a
    // daemon that runs by its script when this unit takes the place of that.
    constexpr char kUnit[] =
        R"([Unit]
Description={description}
# The program, the folders and the account may be on the network. Whatever is ordered before the daemon goes
# down after it.
After=remote-fs.target nss-user-lookup.target network.target

[Service]
# The daemon says itself when it is ready.
Type=notify
NotifyAccess=main
ExecStart={command}
# A shell, because not every machine has the program kill. A daemon that does not know SIGHUP ends by it, and
# is started again.
ExecReload=/bin/sh -c "kill -HUP $$MAINPID"
RestartForceExitStatus=SIGHUP
{account}{transientFolder}{controlFolder}# As long as systemd gives a script.
TimeoutStartSec=5min
Restart=on-failure
RestartSec=1s

# What a daemon in general can do without. Stricter settings depend on what it does: NoNewPrivileges= keeps it
# from calling programs such as sendmail or sudo, PrivateTmp= its clients from the sockets that it has in
# /tmp. `systemctl edit` adds them.
{protection}ProtectControlGroups=yes
CapabilityBoundingSet=~CAP_SYS_MODULE CAP_SYS_RAWIO CAP_SYS_BOOT

[Install]
WantedBy=multi-user.target
)";
    return fmt::format(kUnit, fmt::arg("description", composeDescription(id, settings)),
                       fmt::arg("command", composeCommand(id, settings)),
                       fmt::arg("account", composeAccount(settings)),
                       fmt::arg("controlFolder", composeControlFolder(settings)),
                       fmt::arg("transientFolder", composeTransientFolder(settings)),
                       fmt::arg("protection", composeProtection(settings)));
}

int showUnit(UnitCommand const& command) {
    if (!selectDaemons({{command.id}}).isComplete)
        return kFailed;
    fdn::String const id = fromUTF8(command.id);
    print(composeUnit(id, dmn::readDaemonSettings(id)));
    return kDone;
}

} // namespace dmnctl
