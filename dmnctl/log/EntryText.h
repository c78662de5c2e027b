#pragma once

#include <dmnctl/log/Entry.h>
#include <dmnctl/show/Terminal.h>

#include <string>

namespace dmnctl {

/// Writes entries for people:
///
///     2026-11-22 10:42:07.123  error    init failed: open failed for '/etc/x': Permission denied.
///         where: CDaemonManager
///         code: 13
///         func: open
///         caused by: ...
///
/// The time is local. No text can drive the terminal, or look like another line. A line of the log that is no
/// entry is shown as it stands, after "(damaged)".
class EntryText {
public:
    /// Levels are in colours where the terminal has any. Where entries of several daemons are mixed, their
    /// IDs are shown in a column that is as wide as the longest of them; 0 for no column.
    explicit EntryText(Terminal const& terminal, int idWidth = 0)
        : m_terminal(terminal), m_idWidth(idWidth) {}

    /// The entry, with a line feed at the end of each of its lines.
    std::string compose(Entry const& entry, std::string const& id) const;

private:
    std::string composeId(std::string const& id) const;
    std::string composeLevel(Entry const& entry) const;

    Terminal m_terminal;
    int m_idWidth;
};

} // namespace dmnctl
