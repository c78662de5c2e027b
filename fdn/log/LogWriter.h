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
    /// and the next one that can is preceded by one that says how many were lost.
    void write(LogLevel level, std::string const& content);

    /// Closes the file. The next entry chooses the log's place again and opens it.
    void closeFile();

private:
    bool writeSomewhere(LogLevel level, std::string const& content);
    bool writeToFile(std::string const& entry);

    std::optional<LogFile> m_file;
};

} // namespace fdn
