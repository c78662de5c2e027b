#include <dmn/commandline/StandardOptions.h>

#include <dmn/commandline/TextOption.h>

namespace dmn {

namespace {

// The texts are fixed, and some are odd: the time-out's default is 60 seconds, not 30; most options serve
// more commands than they list; the password's text lacks a line break; and some mention Windows. Do not
// repair them. The blanks put each line of a text under the first in the parser's usage.
constexpr TextOption kOptions[] = {
    {"c", "controlFolder",
     "Path of the daemon's control folder\n"
     "                                Commands: install, run"},
    {"i", "id",
     "ID of the daemon. For install this is the ID \n"
     "                                the daemon will be installed as.\n"
     "                                For the other commands it is the ID of\n"
     "                                the daemon to control.\n"
     "                                If this is not specified then\n"
     "                                the daemon's default ID will be used.\n"
     "                                Commands: install, start, stop"},
    {"t", "timeout",
     "Timeout for the command to finish (in seconds).\n"
     "                                 Default: 30\n"
     "                                 Commands: install, uninstall, start, stop"},
    {"r", "runas",
     "Specifies the user account name that the daemon\n"
     "                                 should run under.\n"
     "                                 Windows Default: depends on the daemon. If it\n"
     "                                   requires network access AND admin access then\n"
     "                                   a new user account is created. Otherwise it runs\n"
     "                                   in the LocalSystem or NetworkService account\n"
     "                                 Unix Default: root\n"
     "                                 Commands: install"},
    {"p", "runas-password",
     "Specifies the password for the user account\n"
     "                                 name that the daemon should run under.\n"
     "                                 ONLY needed on Windows!!                                 Default: "
     "<empty>\n"
     "                                 Commands: install"},
    {"s", "transientFolderAppID",
     "Specifies the app id to be used when\n"
     "                                 generating the transient folder path that\n"
     "                                 is created each time the daemon is run.\n"
     "                                 Only has an effect on Linux.\n"
     "                                 Default: <empty> (do not create transient folder)\n"
     "                                 Commands: install"},
    {"g", "transientFolderGroup",
     "Specifies the group that should\n"
     "                                 be assigned to the transient folder.\n"
     "                                 Default: root\n"
     "                                 Commands: install"},
};

} // namespace

void declareStandardOptions(wxCmdLineParser& parser) {
    for (TextOption const& option : kOptions)
        declareOption(parser, option);
}

} // namespace dmn
