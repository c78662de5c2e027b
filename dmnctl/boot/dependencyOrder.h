#pragma once

#include <dmnctl/show/Notices.h>

#include <dmn/DaemonSettings.h>

#include <fdn/String.h>

namespace dmnctl {

// insserv(8) computes the order in which a machine boots from the header of each script. The daemons' scripts
// have none. What stands in for it is an override: a file of the script's name with nothing but a header.

/// Has insserv put the daemon in order, so that it starts at boot. Says what it does. Throws CError when it
/// fails; what it had changed by then, it has taken back.
void putInOrder(fdn::String const& id, dmn::DaemonSettings const& settings, Notices& notices);

/// Whether there is something for takeOutOfOrder() to do besides links.
bool hasOwnOverride(fdn::String const& id);

/// Takes that back: what is left is what the installation of a daemon that is not for boot leaves. Also of a
/// daemon that is no longer installed. An override by somebody else stays. Throws CError.
void takeOutOfOrder(fdn::String const& id, Notices& notices);

} // namespace dmnctl
