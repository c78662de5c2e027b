#pragma once

#include <dmnctl/commandline/CommandLine.h>

#include <fdn/String.h>

#include <cstddef>
#include <string>

namespace dmnctl {

/// Shows the log of one or several daemons, merged by time. Returns the exit status.
int showLog(LogCommand const& command);

/// The last entries of a daemon's log, for people, each with a line feed at its end. Empty where there is
/// none. Throws CError for a log that cannot be read.
std::string composeLastEntries(fdn::String const& id, std::size_t count);

} // namespace dmnctl
