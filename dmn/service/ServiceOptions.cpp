#include <dmn/service/ServiceOptions.h>

#include <dmn/commandline/TextOption.h>

#include <algorithm>
#include <iterator>
#include <string>

namespace dmn {

namespace {

constexpr char kNoWait[] = "no-wait";
constexpr char kKill[] = "kill";
constexpr char kVerbose[] = "verbose";
constexpr char kLogLevel[] = "log-level";

// In a help text, it stands for the seconds of the time-out.
constexpr char kSeconds[] = "%d";

constexpr TextOption kTextOptions[] = {
    {"c", "controlFolder",
     "the folder of the daemon's PID file. install needs\n"
     "it. Default: the current folder in run, otherwise\n"
     "the one that was given to install"},
    {"i", "id", "the daemon's ID. Default: the program's own"},
    {"t", "timeout", "the seconds to wait at most. Default: %d"},
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
    {"", kLogLevel,
     "the least serious entries of the log: debug, info,\n"
     "warning or error. install keeps it. Default: info"},
};

bool isSpelling(std::string const& argument, TextOption const& option) {
    return argument == std::string("--") + option.longName || argument == std::string("-") + option.shortName;
}

} // namespace

void declareServiceOptions(wxCmdLineParser& parser, int timeoutMs) {
    for (TextOption const& option : kTextOptions) {
        fdn::String help = option.help;
        help.Replace(kSeconds, fdn::String::Format("%d", timeoutMs / 1000));
        parser.AddOption(option.shortName, option.longName, help);
    }
    parser.AddLongSwitch(kNoWait, "start: do not wait until the daemon is ready");
    parser.AddLongSwitch(kKill, "end a daemon by force that does not stop in time");
    parser.AddLongSwitch(kVerbose, "status: show settings, process and log as well");
}

bool takesNextArgument(std::string_view argument) {
    return argument.size() > 1 &&
           std::any_of(std::begin(kTextOptions), std::end(kTextOptions),
                       [&](TextOption const& option) { return isSpelling(std::string(argument), option); });
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
