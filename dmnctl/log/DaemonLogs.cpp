#include <dmnctl/log/DaemonLogs.h>

#include <fdn/CSystemAccountManager.h>

#include <dmn/daemonStatus.h>
#include <dmn/installedDaemons.h>

#include <algorithm>

namespace dmnctl {

namespace {

unsigned getAccount(fdn::String const& name) {
    return name.empty() ? 0 : fdn::CSystemAccountManager::get().getUserID(name).getUID();
}

bool isSame(Log const& left, Log const& right) {
    return left.getFile().getText() == right.getFile().getText() ||
           (left.getFileId() && left.getFileId() == right.getFileId());
}

} // namespace

std::optional<LogPlace> locateLog(fdn::String const& id) {
    dmn::requireInstalledDaemon(id);
    LogPlace place;
    place.account = getAccount(dmn::readDaemonSettings(id).runAs);
    place.file = dmn::getDaemonLogFile(id);
    return place.file.getText().empty() ? std::nullopt : std::optional(place);
}

void DaemonLogs::add(std::string const& id, LogPlace const& place) {
    Log log(place);
    auto const known =
        std::find_if(m_logs.begin(), m_logs.end(), [&](Log const& other) { return isSame(other, log); });
    if (known != m_logs.end()) {
        m_names[static_cast<std::size_t>(known - m_logs.begin())] += "," + id;
        return;
    }
    m_logs.push_back(std::move(log));
    m_names.push_back(id);
}

} // namespace dmnctl
