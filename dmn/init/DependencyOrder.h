#pragma once

#include <fdn/String.h>

namespace dmn {

// The order of scripts that insserv(8) computes and init reads at boot. A script that is not in it does not
// run, whatever links it has.

/// Whether the machine boots in such an order. Throws nothing.
bool hasDependencyOrder();

/// Whether the script of this ID is among those that init starts.
bool isInDependencyOrder(fdn::String const& id);

} // namespace dmn
