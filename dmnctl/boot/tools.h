#pragma once

#include <fdn/String.h>
#include <fdn/containers.h>

#include <string>

namespace dmnctl {

/// Runs a tool of the system, and passes on what it prints. Throws CError, with that text, when it fails.
void runTool(fdn::TArray<fdn::String> const& words);

} // namespace dmnctl
