#pragma once

#include <dmnctl/daemons/DaemonView.h>
#include <dmnctl/show/Terminal.h>

#include <optional>
#include <string>
#include <vector>

namespace dmnctl {

/// What the list shows in one line.
struct ListedDaemon {
    DaemonView view;
    bool startsAtBoot = false;
};

/// The table of these daemons. In it, "-" stands for what there is not, "?" for what cannot be seen.
std::string composeDaemonTable(std::vector<ListedDaemon> const& daemons, Terminal const& terminal);

/// The colour of a state, if it has one.
std::optional<Colour> getColourOf(dmn::DaemonState state);

} // namespace dmnctl
