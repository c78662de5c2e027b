#pragma once

#include <dmnctl/daemons/DaemonView.h>

#include <string>

namespace dmnctl {

/// A process as texts name it: "(process 123)".
std::string describeProcess(int process);

/// What the daemon does, in one sentence.
std::string describeStatus(DaemonView const& view);

/// The daemon's settings, its process and its log, one a line, with a line feed each. What cannot be read is
/// said to be so.
std::string describeDetails(DaemonView const& view);

} // namespace dmnctl
