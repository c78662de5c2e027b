#pragma once

#include <fdn/String.h>
#include <fdn/containers.h>

#include <string>

namespace dmnctl {

/// Runs a tool of the system. What it prints goes to standard error. Throws CError when it fails.
void runTool(fdn::TArray<fdn::String> const& words);

} // namespace dmnctl
