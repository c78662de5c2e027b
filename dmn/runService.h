#pragma once

#include <dmn/CServiceEntry.h>

#include <fdn/P.h>
#include <fdn/Path.h>
#include <fdn/String.h>

namespace dmn {

/// The front end of a daemon that needs no options or commands of its own; see runService().
template <class Daemon>
class TServiceEntry : public CServiceEntry {
public:
    /// Takes over the description, which createDaemonInfo() returns.
    explicit TServiceEntry(CDaemonInfo const& info) : m_info(info) {}

    fdn::P<CDaemonInfo> createDaemonInfo() override { return fdn::newObj<CDaemonInfo>(m_info); }

    fdn::P<CDaemon> createDaemon(fdn::String const& id, fdn::Path const& controlFolder) override {
        return fdn::newObj<Daemon>(id, controlFolder);
    }

private:
    CDaemonInfo m_info;
};

/// The whole of main(): makes a front end for the daemon's class and returns what its entry() returns. The
/// class needs CDaemon's constructor, with an ID and a control folder.
///
///     int main(int argc, char** argv) {
///         return dmn::runService<CMyService>(argc, argv, info);
///     }
template <class Daemon>
int runService(int argc, char** argv, CDaemonInfo const& info) {
    return fdn::newObj<TServiceEntry<Daemon>>(info)->entry(argc, argv);
}

/// The same for a daemon that starts at boot and needs no more than these texts: its ID, its name for people,
/// and the version that --version shows.
template <class Daemon>
int runService(int argc, char** argv, fdn::String const& id, fdn::String const& displayName,
               fdn::String const& version) {
    CDaemonInfo info;
    info.defaultId = id;
    info.displayName = displayName;
    info.version = version;
    info.startAtBoot = true;
    return runService<Daemon>(argc, argv, info);
}

} // namespace dmn
