#pragma once

#include <fdn/String.h>

#include <wx/cmdline.h>

#include <string_view>

namespace dmn {

// The options of every service: those of every daemon, with texts of their own, and some more.

/// What the options say that no other front end has.
struct ServiceOptions {
    bool waits = true;     ///< no --no-wait
    bool kills = false;    ///< --kill
    bool tellsAll = false; ///< --verbose
    fdn::String logLevel;  ///< --log-level; empty if it is not given
};

/// Declares the options. The time-out, in milliseconds, is the one that holds unless another is given.
void declareServiceOptions(wxCmdLineParser& parser, int timeoutMs);

/// Whether the argument is one of these options without its value, which is then the next argument.
bool takesNextArgument(std::string_view argument);

/// Reads those that no other front end has.
ServiceOptions readServiceOptions(wxCmdLineParser const& parser);

/// The option that has a program log as the level's name says.
fdn::String composeLogLevelOption(fdn::String const& level);

} // namespace dmn
