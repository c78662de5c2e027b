#pragma once

#include <dmnctl/log/Log.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace dmnctl {

/// Which entries are shown.
struct EntrySelection {
    std::optional<std::size_t> lines;  ///< the last ones; nothing for no limit
    std::optional<std::int64_t> since; ///< not those before this time
    bool errorsOnly = false;
};

/// Several logs as one sequence, in the order of time. The entries of one log stay in their order, even if
/// the clock was set back meanwhile. Memory is needed for one entry of each log.
class MergedLogs {
public:
    struct Found {
        Entry entry;
        std::size_t log = 0; ///< from which: the index of the log
    };

    explicit MergedLogs(std::vector<Log>& logs, EntrySelection const& selection);

    /// Goes back to the first of the selected entries. Reads no more of the logs than needed.
    void goBack();

    /// The next of the selected entries; nothing after the last one. After another look at the logs, there
    /// may be more.
    std::optional<Found> getNext();

private:
    struct Head {
        Entry entry;
        std::int64_t time = 0;
    };

    using Heads = std::vector<std::optional<Head>>;

    std::optional<Head> readPrevious(Log& log) const;
    std::optional<Head> readNext(Log& log) const;
    bool isSelected(Entry const& entry, std::int64_t time) const;
    bool isLongBefore(std::int64_t time) const;

    std::vector<Log>& m_logs;
    EntrySelection m_selection;
    Heads m_heads; // the next entry of each log
};

} // namespace dmnctl
