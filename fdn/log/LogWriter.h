#pragma once

#include <fdn/log/LogEntry.h>
#include <fdn/log/LogFile.h>

#include <optional>
#include <string>

namespace fdn {

/// Writes the entries of a log to its file, or to syslog when that fails. Any thread may use it, and so may
/// the child of a fork: no fork happens while an entry is being written. All writers of the process take
/// turns.
class LogWriter {
public:
    LogWriter();

    LogWriter(LogWriter const&) = delete;
    LogWriter& operator=(LogWriter const&) = delete;

    /// Writes one entry with this content, which is XML. An entry that cannot be written anywhere is counted,
    /// and the next one that can is preceded by one that says how many were lost. While entries are shown,
    /// `readable` is the same content for people, on one line.
    void write(LogLevel level, std::string const& content, std::string const& readable);

    /// Closes the file. The next entry chooses the log's place again and opens it.
    void closeFile();

    /// From now on, each entry of any log is also written to standard error, unless the log is there.
    static void show();

    /// A signal handler may ask.
    static bool isShown();

    /// Where the log is; where it would be if no entry was written yet. Throws CError when there is no place.
    Path getPath() const;

private:
    bool writeSomewhere(LogLevel level, std::string const& content);
    bool writeToFile(std::string const& entry);
    void display(LogLevel level, std::string const& readable);

    std::optional<LogFile> m_file;
    std::optional<LogFile> m_display; // standard error
};

} // namespace fdn
