#pragma once

#include <fdn/CImpersonateInfo.h>
#include <fdn/String.h>
#include <fdn/containers.h>

#include <string>

namespace dmn {

/// Runs the shell with these arguments under the account (null: the caller's), in the folder "/" and with
/// nothing in its environment but the system's PATH, and returns what it has printed. Blocks until it has
/// ended. Throws CError when it cannot be run.
std::string runShellAs(fdn::CImpersonateInfo* account, fdn::TArray<fdn::String> const& arguments);

} // namespace dmn
