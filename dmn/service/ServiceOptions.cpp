#include <dmn/service/ServiceOptions.h>

#include <dmn/commandline/TextOption.h>

namespace dmn {

namespace {

constexpr char kNoWait[] = "no-wait";
constexpr char kKill[] = "kill";
constexpr char kVerbose[] = "verbose";
constexpr char kLogLevel[] = "log-level";

constexpr TextOption kInstallOptions[] = {
    {"r", "runas",
     "install: the account that the daemon runs under.\n"
     "Default: the account of who starts it, root"},
    {"p", "runas-password", "has no effect on this system"},
    {"s", "transientFolderAppID",
     "install: a folder in /run that start makes for the\n"
     "daemon. Default: none"},
    {"g", "transientFolderGroup",
     "install: the group of that folder.\n"
     "Default: the group with the account's name"},
};

} // namespace

void declareServiceOptions(wxCmdLineParser& parser, int timeoutMs) {
    declareOption(parser, {"c", "controlFolder",
                           "the folder of the daemon's PID file. install needs\n"
                           "it. Default: the one that was given to install"});
    declareOption(parser, {"i", "id", "the daemon's ID. Default: the program's own"});
    parser.AddOption("t", "timeout",
                     fdn::String::Format("the seconds to wait at most. Default: %d", timeoutMs / 1000));
    for (TextOption const& option : kInstallOptions)
        declareOption(parser, option);
    parser.AddLongOption(kLogLevel, "the least serious entries of the log: debug, info,\n"
                                    "warning or error. install keeps it. Default: info");
    parser.AddLongSwitch(kNoWait, "start: do not wait until the daemon is ready");
    parser.AddLongSwitch(kKill, "end a daemon by force that does not stop in time");
    parser.AddLongSwitch(kVerbose, "status: show settings, process and log as well");
}

ServiceOptions readServiceOptions(wxCmdLineParser const& parser) {
    ServiceOptions options;
    options.waits = !parser.Found(kNoWait);
    options.kills = parser.Found(kKill);
    options.tellsAll = parser.Found(kVerbose);
    wxString level;
    if (parser.Found(kLogLevel, &level))
        options.logLevel = level;
    return options;
}

fdn::String composeLogLevelOption(fdn::String const& level) {
    return fdn::String("--") + kLogLevel + "=" + level;
}

} // namespace dmn
