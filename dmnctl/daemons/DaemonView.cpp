#include <dmnctl/daemons/DaemonView.h>

#include <dmn/installedDaemons.h>

#include <fdn/CError.h>

namespace dmnctl {

namespace {

dmn::DaemonStatus composeUnknown(fdn::String const& reason) {
    dmn::DaemonStatus status;
    status.isInstalled = true;
    status.reason = reason;
    return status;
}

std::optional<fdn::ProcessInfo> lookAtProcess(int process) {
    try {
        return fdn::getProcessInfo(process);
    } catch (fdn::CError const&) {
        return std::nullopt; // that it runs is known all the same
    }
}

} // namespace

DaemonView lookAtDaemon(fdn::String const& id) {
    DaemonView view;
    view.id = id;
    try {
        view.settings = dmn::readDaemonSettings(id);
        view.status = dmn::getDaemonStatus(id, view.settings->controlFolder);
    } catch (fdn::CError const& error) {
        view.status = composeUnknown(error.getMessage());
    }
    if (view.status.state == dmn::DaemonState::Running)
        view.process = lookAtProcess(view.status.process);
    return view;
}

char const* getNameOf(dmn::DaemonState state) {
    switch (state) {
    case dmn::DaemonState::Running:
        return "running";
    case dmn::DaemonState::Stopped:
        return "stopped";
    case dmn::DaemonState::Dead:
        return "dead";
    case dmn::DaemonState::NotInstalled:
        return "not installed";
    case dmn::DaemonState::Unknown:
        break;
    }
    return "unknown";
}

fdn::Path composePIDFilePath(DaemonView const& view) {
    return view.status.controlFolder << fdn::Path(view.id + ".pid");
}

} // namespace dmnctl
