#pragma once

#include <dmn/CDaemonInfo.h>

#include <fdn/Path.h>
#include <fdn/String.h>

namespace dmn {

/// What an installation has done, with a line feed after each line.
fdn::String describeInstallation(CDaemonInfo const& info, fdn::String const& id,
                                 fdn::Path const& controlFolder);

} // namespace dmn
