#pragma once

#include <dmnctl/log/Entry.h>
#include <dmnctl/show/Terminal.h>

#include <cstddef>
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
    /// With a terminal, levels are in colours where it has any; without one, never. Where entries of several
    /// daemons are mixed, their IDs are shown in a column that is as wide as the longest of them; 0 for no
    /// column.
    explicit EntryText(Terminal const* terminal, std::size_t idWidth = 0)
        : m_terminal(terminal), m_idWidth(idWidth) {}

    /// The entry, with a line feed at the end of each of its lines.
    std::string compose(Entry const& entry, std::string const& id) const;

private:
    std::string composeId(std::string const& id) const;
    std::string composeLevel(Entry const& entry) const;

    Terminal const* m_terminal;
    std::size_t m_idWidth;
};

/// How many columns the text takes, for those that the terminal shows in one column each.
std::size_t measure(std::string const& text);

} // namespace dmnctl
