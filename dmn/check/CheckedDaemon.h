#pragma once

#include <dmn/DaemonFinding.h>
#include <dmn/start/StartSettings.h>

#include <fdn/String.h>
#include <fdn/containers.h>

namespace dmn {

using Findings = fdn::TList<DaemonFinding>;

/// A daemon whose settings are checked.
struct CheckedDaemon {
    fdn::String id;
    StartSettings settings;
    bool isFolderMade; ///< whether the installation or the start makes a missing control folder
};

/// The daemon's account for people: "The account 'www-data'", or "Root".
inline fdn::String describeAccount(StartSettings const& settings) {
    return settings.runAs.empty() ? fdn::String("Root") : "The account '" + settings.runAs + "'";
}

inline void append(Findings& findings, Findings more) {
    findings.splice(findings.end(), more);
}

} // namespace dmn
