#pragma once

#include <dmnctl/log/Log.h>

#include <fdn/String.h>

#include <optional>
#include <string>
#include <vector>

namespace dmnctl {

/// Where the log of an installed daemon is; nothing where there is no place for it, so that its entries go to
/// syslog. Throws CError for what is no installed daemon, or cannot be told.
std::optional<LogPlace> locateLog(fdn::String const& id);

/// The logs of some daemons, each log once, even if several daemons write to it.
class DaemonLogs {
public:
    /// Opens the log of another daemon.
    void add(std::string const& id, LogPlace const& place);

    std::vector<Log>& getLogs() { return m_logs; }

    /// The IDs of the daemons that write to a log, separated by commas.
    std::string const& getName(std::size_t log) const { return m_names[log]; }

    std::vector<std::string> const& getNames() const { return m_names; }

private:
    std::vector<Log> m_logs;
    std::vector<std::string> m_names;
};

} // namespace dmnctl
