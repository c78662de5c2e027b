#pragma once

#include <dmnctl/commandline/CommandLine.h>

#include <fdn/String.h>

namespace dmnctl {

/// Shows whether this machine starts the daemon at boot, or brings it about, or ends that, whoever had
/// arranged it. Says what it does, one thing a line.
/// Returns the exit status: 0; of a question, 3 if the daemon does not start at boot; 2 for a name that
/// stands for no daemon. What an uninstalled daemon has left can still be taken back. Throws CError for what
/// fails; the machine is as it was then, or the same call, once more, completes it. Changes need root.
int boot(BootCommand const& command);

/// Whether systemd runs this machine and knows the daemon by a native unit, so that it is to be started and
/// stopped through systemctl.
bool isRunBySystemd(fdn::String const& id);

} // namespace dmnctl
