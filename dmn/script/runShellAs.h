#pragma once

#include <fdn/CImpersonateInfo.h>
#include <fdn/String.h>
#include <fdn/containers.h>

#include <string>

namespace dmn {

/// Has the shell run the text with these arguments under the account (null: the caller's), in the folder "/"
/// and in a nearly empty environment, and returns what it has printed. Blocks until it has ended. Throws
/// CError when it cannot be run.
std::string runShellAs(fdn::CImpersonateInfo* account, fdn::String const& text,
                       fdn::TArray<fdn::String> const& arguments);

} // namespace dmn
