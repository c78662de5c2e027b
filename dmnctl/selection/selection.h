#pragma once

#include <dmnctl/commandline/CommandLine.h>

#include <fdn/String.h>
#include <fdn/containers.h>

#include <functional>
#include <string>

namespace dmnctl {

/// The installed daemons that are meant: those that are named, each once, or all.
struct Selection {
    fdn::TList<fdn::String> ids;
    bool isComplete = true; ///< false if a name stands for none; that has been said then
};

/// Finds them. Says on standard error which names stand for no installed daemon, and which ones there are.
/// Throws CError when the init scripts cannot be looked at.
Selection selectDaemons(Daemons const& daemons);

using DaemonAction = std::function<void(fdn::String const& id)>;

/// Performs the action for each of them, whatever becomes of the others. What it throws is said on standard
/// error; then `afterFailure` is called, if there is one. Returns whether the action has succeeded for all
/// that were meant.
bool performForEach(Daemons const& daemons, DaemonAction const& action,
                    DaemonAction const& afterFailure = {});

/// What is said where no daemon is installed.
std::string composeNoDaemons();

} // namespace dmnctl
