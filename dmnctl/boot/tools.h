#pragma once

#include <fdn/String.h>
#include <fdn/containers.h>

#include <sys/types.h>

namespace dmnctl {

/// Runs a tool of the system. What it prints goes to standard error. Throws CError when it fails.
void runTool(fdn::TArray<fdn::String> const& words);

/// Waits for the end of a child and returns its status (POSIX waitpid).
int awaitStatus(pid_t child);

} // namespace dmnctl
