#pragma once

#include <dmnctl/commandline/CommandLine.h>
#include <dmnctl/log/EntryText.h>

#include <memory>
#include <string>

namespace dmnctl {

/// Entries on standard output, in a form that people or programs read. What is added is kept until flush(),
/// or until there is much of it.
class LogOutput {
public:
    LogOutput() = default;
    LogOutput(LogOutput const&) = delete;
    LogOutput& operator=(LogOutput const&) = delete;
    virtual ~LogOutput();

    void add(Entry const& entry, std::string const& id);

    /// Says that no entry follows, and flushes.
    void end();

    void flush();

    /// Whether somebody still reads it.
    bool isRead() const { return m_isRead; }

private:
    virtual std::string compose(Entry const& entry, std::string const& id) = 0;

    virtual std::string composeEnd() { return {}; }

    std::string m_text;
    bool m_isRead = true;
};

/// For people, as EntryText writes them, with an ID column of this width; for programs as JSON: one array of
/// objects or, where the entries never end, one object per line.
std::unique_ptr<LogOutput> makeLogOutput(LogCommand const& command, int idWidth);

} // namespace dmnctl
