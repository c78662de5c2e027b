#include <dmnctl/log/MergedLogs.h>

#include <limits>

namespace dmnctl {

namespace {

constexpr std::size_t kNone = std::numeric_limits<std::size_t>::max();

// An entry gets its time before its place in the file, which it may have to wait for.
constexpr std::int64_t kDisorder = std::int64_t(60) * 1000000;

template <class Heads>
std::size_t findEarliest(Heads const& heads) {
    std::size_t earliest = kNone;
    for (std::size_t i = 0; i < heads.size(); ++i) {
        if (heads[i] && (earliest == kNone || heads[i]->time < heads[earliest]->time))
            earliest = i;
    }
    return earliest;
}

// Of several, the one that findEarliest() finds last.
template <class Heads>
std::size_t findLatest(Heads const& heads) {
    std::size_t latest = kNone;
    for (std::size_t i = 0; i < heads.size(); ++i) {
        if (heads[i] && (latest == kNone || heads[i]->time >= heads[latest]->time))
            latest = i;
    }
    return latest;
}

} // namespace

MergedLogs::MergedLogs(std::vector<Log>& logs, EntrySelection const& selection)
    : m_logs(logs), m_selection(selection), m_heads(logs.size()) {}

void MergedLogs::goBack() {
    std::size_t const lines = m_selection.lines.value_or(std::numeric_limits<std::size_t>::max());
    if (lines == 0)
        return;
    Heads heads;
    for (Log& log : m_logs)
        heads.push_back(readPrevious(log));
    for (std::size_t taken = 0; taken < lines; ++taken) {
        std::size_t const latest = findLatest(heads);
        if (latest == kNone)
            return;
        heads[latest] = readPrevious(m_logs[latest]);
    }
    for (std::size_t i = 0; i < heads.size(); ++i) {
        if (heads[i])
            m_logs[i].takeBack();
    }
}

std::optional<MergedLogs::Found> MergedLogs::getNext() {
    for (std::size_t i = 0; i < m_heads.size(); ++i) {
        if (!m_heads[i])
            m_heads[i] = readNext(m_logs[i]);
    }
    std::size_t const earliest = findEarliest(m_heads);
    if (earliest == kNone)
        return std::nullopt;
    Found found{std::move(m_heads[earliest]->entry), earliest};
    m_heads[earliest].reset();
    return found;
}

std::optional<MergedLogs::Head> MergedLogs::readPrevious(Log& log) const {
    while (std::optional<Entry> entry = log.readPrevious()) {
        if (isLongBefore(log.getTime()))
            return std::nullopt;
        if (isSelected(*entry, log.getTime()))
            return Head{std::move(*entry), log.getTime()};
    }
    return std::nullopt;
}

std::optional<MergedLogs::Head> MergedLogs::readNext(Log& log) const {
    while (std::optional<Entry> entry = log.readNext()) {
        if (isSelected(*entry, log.getTime()))
            return Head{std::move(*entry), log.getTime()};
    }
    return std::nullopt;
}

bool MergedLogs::isSelected(Entry const& entry, std::int64_t time) const {
    return (!m_selection.since || time >= *m_selection.since) && (!m_selection.errorsOnly || isError(entry));
}

bool MergedLogs::isLongBefore(std::int64_t time) const {
    return m_selection.since && time < *m_selection.since - kDisorder;
}

} // namespace dmnctl
