#pragma once

#include <dmn/daemonStatus.h>

#include <fdn/String.h>

namespace dmn {

/// A process as other texts name it: "(process 123)".
fdn::String describeProcess(int process);

/// What the status says, in one sentence.
fdn::String describeStatus(fdn::String const& id, DaemonStatus const& status);

/// All that can be found out about the daemon: its settings, its process and its log, one a line, with a line
/// feed each. What cannot be read is said to be so.
fdn::String describeDetails(fdn::String const& id, DaemonStatus const& status);

} // namespace dmn
