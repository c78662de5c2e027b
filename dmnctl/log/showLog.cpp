#include <dmnctl/log/showLog.h>

#include <dmnctl/log/DaemonLogs.h>
#include <dmnctl/log/LogOutput.h>
#include <dmnctl/log/LogWatch.h>
#include <dmnctl/log/MergedLogs.h>
#include <dmnctl/log/moment.h>
#include <dmnctl/log/printable.h>
#include <dmnctl/show/text.h>

#include <fdn/CError.h>

#include <dmn/installedDaemons.h>

#include <algorithm>

#include <fmt/core.h>

namespace dmnctl {

namespace {

constexpr int kFailed = 2;
constexpr std::size_t kUsualLines = 20;

Selection getSelection(LogCommand const& command) {
    Selection selection;
    selection.lines = command.lines;
    selection.errorsOnly = command.errorsOnly;
    if (!command.since.empty())
        selection.since = parseSince(command.since, getNow());
    else if (!command.lines)
        selection.lines = kUsualLines;
    return selection;
}

std::vector<std::string> getIds(Daemons const& daemons) {
    std::vector<std::string> ids = daemons.ids;
    if (ids.empty()) {
        for (fdn::String const& id : dmn::findInstalledDaemons())
            ids.push_back(toUTF8(id));
    }
    return ids;
}

fdn::Path const& getFile(Log const& log) {
    return log.getFile();
}

/// Shows the logs of some daemons, and says what cannot be shown.
class LogShow {
public:
    explicit LogShow(LogCommand const& command) : m_command(command), m_selection(getSelection(command)) {}

    int show() {
        openLogs();
        m_output = makeLogOutput(m_command, getIdWidth());
        MergedLogs entries(m_logs.getLogs(), m_selection);
        if (m_command.follow)
            followLogs();
        entries.goBack();
        add(entries);
        if (m_command.follow)
            keepUp(entries);
        m_output->end();
        return m_status;
    }

private:
    void openLogs() {
        for (std::string const& id : getIds(m_command.daemons))
            openLog(id);
        reportProblems();
    }

    void openLog(std::string const& id) {
        try {
            if (std::optional<LogPlace> const place = locateLog(fromUTF8(id)))
                m_logs.add(id, *place);
            else
                printError(toPrintable(composeSyslogHint(id)));
        } catch (fdn::CError const& error) {
            report(toUTF8(error.getMessage()));
        }
    }

    static std::string composeSyslogHint(std::string const& id) {
        return fmt::format("{} has no folder for a log, so its entries go to syslog.", id);
    }

    void followLogs() {
        for (Log& log : m_logs.getLogs())
            log.follow();
    }

    void keepUp(MergedLogs& entries) {
        std::vector<Log>& logs = m_logs.getLogs();
        std::vector<fdn::Path> files;
        std::transform(logs.begin(), logs.end(), std::back_inserter(files), &getFile);
        LogWatch watch(files);
        do {
            watch.renew();
            warn(watch.getRefusal());
            for (Log& log : logs)
                log.look();
            add(entries);
        } while (m_output->isRead() && watch.wait());
    }

    void warn(std::string const& refusal) {
        if (refusal.empty() || m_isWarned)
            return;
        m_isWarned = true;
        printError(fmt::format("The system does not tell when the logs change ({}), so they are looked at "
                               "once a second.",
                               refusal));
    }

    void add(MergedLogs& entries) {
        while (auto const found = entries.getNext()) {
            m_output->add(found->entry, m_logs.getName(found->log));
            if (!m_output->isRead())
                return;
        }
        m_output->flush();
        reportProblems();
    }

    void reportProblems() {
        for (Log& log : m_logs.getLogs()) {
            for (std::string const& problem : log.takeProblems())
                report(problem);
        }
    }

    void report(std::string const& problem) {
        printError(toPrintable(problem));
        m_status = kFailed;
    }

    // One log needs no names.
    std::size_t getIdWidth() const {
        std::vector<std::string> const& names = m_logs.getNames();
        if (names.size() < 2)
            return 0;
        std::size_t width = 0;
        for (std::string const& name : names)
            width = std::max(width, measure(toPrintable(name)));
        return width;
    }

    LogCommand const& m_command;
    Selection m_selection;
    DaemonLogs m_logs;
    std::unique_ptr<LogOutput> m_output;
    bool m_isWarned = false;
    int m_status = 0;
};

} // namespace

int showLog(LogCommand const& command) {
    return LogShow(command).show();
}

std::string composeLastEntries(fdn::String const& id, std::size_t count) {
    std::optional<LogPlace> const place = locateLog(id);
    if (!place)
        return {};
    std::vector<Log> logs;
    logs.emplace_back(*place);
    MergedLogs entries(logs, {count, std::nullopt, false});
    entries.goBack();
    std::string text;
    while (auto const found = entries.getNext())
        text += EntryText(nullptr).compose(found->entry, {});
    for (std::string const& problem : logs.front().takeProblems())
        throw fdn::CError(fromUTF8(problem));
    return text;
}

} // namespace dmnctl
