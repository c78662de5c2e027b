#pragma once

#include <dmnctl/commandline/CommandLine.h>

namespace dmnctl {

// The commands for any number of daemons. Each prints its answer and returns the exit status. What fails for
// one daemon is said, and does not keep the others from being looked at.

int list(ListCommand const& command);
int showStatus(StatusCommand const& command);
int start(StartCommand const& command);
int stop(StopCommand const& command);
int restart(RestartCommand const& command);
int check(CheckCommand const& command);

} // namespace dmnctl
