#pragma once

#include <dmn/DaemonSettings.h>
#include <dmn/daemonStatus.h>

#include <fdn/String.h>
#include <fdn/processInfo.h>

#include <optional>

namespace dmnctl {

/// What can be seen of an installed daemon. Anybody may look; what he may not see is left out.
struct DaemonView {
    fdn::String id;
    dmn::DaemonStatus status;                    ///< unknown, with the reason, if the settings are
    std::optional<dmn::DaemonSettings> settings; ///< nothing if they cannot be read
    std::optional<fdn::ProcessInfo> process;     ///< of a daemon that runs; nothing if it cannot be seen
};

/// Looks at the daemon. What goes wrong is an unknown state. Blocks while its script runs, if it must.
DaemonView lookAtDaemon(fdn::String const& id);

/// The name of a state: "running", "stopped", "dead", "unknown" or "not installed".
char const* getNameOf(dmn::DaemonState state);

/// The daemon's PID file.
fdn::Path composePIDFilePath(DaemonView const& view);

} // namespace dmnctl
