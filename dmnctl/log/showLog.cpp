#include <dmnctl/log/showLog.h>

#include <dmnctl/commandline/exitStatus.h>
#include <dmnctl/log/DaemonLogs.h>
#include <dmnctl/log/LogOutput.h>
#include <dmnctl/log/LogWatch.h>
#include <dmnctl/log/MergedLogs.h>
#include <dmnctl/log/moment.h>
#include <dmnctl/selection/selection.h>
#include <dmnctl/show/text.h>

#include <dmn/installedDaemons.h>

#include <fdn/CError.h>

#include <algorithm>

#include <fmt/core.h>

namespace dmnctl {

namespace {

constexpr std::size_t kUsualLines = 20;

EntrySelection getSelection(LogCommand const& command) {
    EntrySelection selection;
    selection.lines = command.lines;
    selection.errorsOnly = command.errorsOnly;
    if (!command.since.empty())
        selection.since = parseSince(command.since, getNow());
    else if (!command.lines)
        selection.lines = kUsualLines;
    return selection;
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
        bool const isFollowing = m_command.follow && !m_logs.getLogs().empty();
        if (isFollowing)
            followLogs();
        entries.goBack();
        add(entries);
        if (isFollowing)
            keepUp(entries);
        m_output->end();
        return m_status;
    }

private:
    void openLogs() {
        if (!performForEach(m_command.daemons, [this](fdn::String const& id) { openLog(id); }))
            m_status = kFailed;
        if (m_command.daemons.ids.empty() && dmn::findInstalledDaemons().empty())
            printError(composeNoDaemons());
        for (std::size_t i = 0; i < m_logs.getNames().size(); ++i)
            reportOpening(m_logs.getLogs()[i], m_logs.getName(i));
    }

    void reportOpening(Log& log, std::string const& name) {
        if (!reportProblems(log) && !log.getFileId())
            printError(fmt::format("{} has no log yet: '{}' does not exist. Entries that cannot be written "
                                   "there go to syslog.",
                                   name, toUTF8(log.getFile())));
    }

    void openLog(fdn::String const& id) {
        if (std::optional<LogPlace> const place = locateLog(id))
            m_logs.add(toUTF8(id), *place);
        else
            printError(composeSyslogHint(id));
    }

    static std::string composeSyslogHint(fdn::String const& id) {
        return fmt::format("There is no folder for the log of {}, so its entries go to syslog.", toUTF8(id));
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
        for (Log& log : m_logs.getLogs())
            reportProblems(log);
    }

    // Returns whether there were some.
    bool reportProblems(Log& log) {
        std::vector<std::string> const problems = log.takeProblems();
        for (std::string const& problem : problems)
            printError(problem);
        if (!problems.empty())
            m_status = kFailed;
        return !problems.empty();
    }

    // One log needs no names.
    int getIdWidth() const {
        std::vector<std::string> const& names = m_logs.getNames();
        if (names.size() < 2)
            return 0;
        int width = 0;
        for (std::string const& name : names)
            width = std::max(width, countColumns(toPrintable(name)));
        return width;
    }

    LogCommand const& m_command;
    EntrySelection m_selection;
    DaemonLogs m_logs;
    std::unique_ptr<LogOutput> m_output;
    bool m_isWarned = false;
    int m_status = kDone;
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
        text += EntryText(Terminal(0, false)).compose(found->entry, {});
    for (std::string const& problem : logs.front().takeProblems())
        throw fdn::CError(fromUTF8(problem));
    return text;
}

} // namespace dmnctl
