#pragma once

#include <dmnctl/commandline/CommandLine.h>

#include <dmn/DaemonSettings.h>

#include <fdn/String.h>

#include <string>

namespace dmnctl {

/// Prints the native systemd unit of an installed daemon. Returns the exit status.
int showUnit(UnitCommand const& command);

/// The text of that unit (systemd.unit(5), systemd.service(5)). Throws CError for what no unit can hold.
std::string composeUnit(fdn::String const& id, dmn::DaemonSettings const& settings);

} // namespace dmnctl
