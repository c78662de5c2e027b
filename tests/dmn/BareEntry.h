#pragma once

#include <dmn/CDaemonEntry.h>

#include <functional>

namespace test {

/// A front end that shows its fields and whose operations the tests call one by one, without entry().
class BareEntry : public dmn::CDaemonEntry {
public:
    ~BareEntry() override { onDelete(); }

    fdn::P<dmn::CDaemonInfo> createDaemonInfo() override { return fdn::newObj<dmn::CDaemonInfo>(); }

    fdn::P<dmn::CDaemon> createDaemon(fdn::String const& id, fdn::Path const& controlFolder) override {
        return makeDaemon(id, controlFolder);
    }

    std::function<fdn::P<dmn::CDaemon>(fdn::String const&, fdn::Path const&)> makeDaemon;
    std::function<void()> onDelete = [] {};

    using CDaemonEntry::m_command;
    using CDaemonEntry::m_controlFolder;
    using CDaemonEntry::m_controller;
    using CDaemonEntry::m_daemonId;
    using CDaemonEntry::m_daemonInfo;
    using CDaemonEntry::m_daemonManager;
    using CDaemonEntry::m_exePath;
    using CDaemonEntry::m_idOption;
    using CDaemonEntry::m_runAs;
    using CDaemonEntry::m_runAsPassword;
    using CDaemonEntry::m_signalHandler;
    using CDaemonEntry::m_stopRequested;
    using CDaemonEntry::m_timeoutMs;
    using CDaemonEntry::m_transientFolderAppID;
    using CDaemonEntry::m_transientFolderGroup;
};

} // namespace test
