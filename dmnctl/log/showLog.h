#pragma once

#include <dmnctl/commandline/CommandLine.h>

#include <fdn/String.h>

#include <cstddef>
#include <string>

namespace dmnctl {

/// Shows the log of one or several daemons, merged by time: the last 20 entries or as many as are asked for,
/// or all since a time (parseSince()). Rotated files are read too, unless they are compressed. A log that
/// several daemons share is shown once. For programs, the answer is a JSON array, or one object per line with
/// `follow` (toJson()).
///
/// With `follow`, it does not return before nobody reads standard output any more; a signal ends it as any
/// program. Logs may come into being, be rotated and be emptied meanwhile.
///
/// Says on standard error what cannot be shown, and shows the rest. Returns the exit status: 0, or 2 if
/// something cannot be shown. That the entries go to syslog, or that there is no log yet, is no failure.
/// Throws CError for a time that cannot be understood.
int showLog(LogCommand const& command);

/// The last entries of a daemon's log, for people, each with a line feed at its end. Empty where there is
/// none. Throws CError for a log that cannot be read.
std::string composeLastEntries(fdn::String const& id, std::size_t count);

} // namespace dmnctl
