#pragma once

#include <fdn/String.h>

#include <set>

namespace dmn {

// The order of scripts that insserv(8) computes and init reads at boot. A script that is not in it does not
// run, whatever links it has.

/// Whether the machine boots in such an order. Throws nothing.
bool hasDependencyOrder();

/// The IDs of the scripts that init starts.
std::set<fdn::String> readDependencyOrder();

} // namespace dmn
