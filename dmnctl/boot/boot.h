#pragma once

#include <dmnctl/commandline/CommandLine.h>

#include <fdn/String.h>

namespace dmnctl {

/// Shows whether this machine starts the daemon at boot, or brings it about, or takes that back. Returns the
/// exit status.
int boot(BootCommand const& command);

/// Whether systemd runs this machine and knows the daemon by a native unit, so that it is to be started and
/// stopped through systemctl.
bool isRunBySystemd(fdn::String const& id);

} // namespace dmnctl
