#pragma once

#include <dmn/start/StartSettings.h>

#include <fdn/String.h>
#include <fdn/containers.h>

#include <sys/types.h>

namespace dmn {

/// Launches the daemon as a detached process with these settings, after making its transient folder if it
/// wants one. The variables are set in its environment. Returns its process once that runs the executable. A
/// failure leaves no process behind, but the transient folder stays once it is complete. The caller needs
/// root's rights.
pid_t launchDaemon(fdn::String const& id, StartSettings const& settings,
                   fdn::TMap<fdn::String, fdn::String> const& variables);

} // namespace dmn
