#pragma once

#include <dmnctl/log/Entry.h>
#include <dmnctl/log/EntryParser.h>
#include <dmnctl/log/LogFile.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace dmnctl {

/// Where the log of a daemon is, and to whom its files must belong, if not to root.
struct LogPlace {
    fdn::Path file;
    unsigned account = 0;
};

/// A log as one sequence of entries, over its file and the rotated ones, and a place between two of them from
/// which one reads back or on. It begins behind the last entry.
///
/// It shows what was there when it last looked. Rotation meanwhile neither loses nor doubles an entry.
/// Nothing is thrown for what cannot be read: it is left out, and takeProblems() tells. Memory is needed for
/// a line or two; one that no entry has the length of is not read as a whole.
class Log {
public:
    /// Opens the file, or the rotated ones where it is missing.
    explicit Log(LogPlace const& place);

    fdn::Path const& getFile() const { return m_place.file; }

    /// What tells the log's newest file from others; nothing where there is none.
    std::optional<FileId> getFileId() const;

    /// Reads the entry before this place, and goes in front of it. Nothing at the beginning.
    std::optional<Entry> readPrevious();

    /// Goes behind the entry that readPrevious() has just read.
    void takeBack() { m_parts[m_stepped].place = m_placeBeforeStep; }

    /// Reads the entry behind this place, and goes behind it. Nothing at the end.
    std::optional<Entry> readNext();

    /// The time of the entry read last or, if it does not tell, of the one read before.
    std::int64_t getTime() const { return m_time.value_or(0); }

    /// From now on, a line without a line feed at the end of the log is one that is being written, and not
    /// shown yet.
    void follow();

    /// Looks what was added since the last look, also to files that were renamed meanwhile. What was there
    /// before must have been read.
    void look();

    /// What has gone wrong since the last call, for people. Nothing is said twice.
    std::vector<std::string> takeProblems();

private:
    /// A file of the log, and what of it was read.
    struct Part {
        LogFile file;
        off_t end = 0;          // at the last look
        off_t place = 0;        // where to read on or back
        off_t begin = 0;        // what is before cannot be read back
        bool isGrowing = false; // whether the last line may be completed yet
        off_t incomplete = -1;  // the end at which the last line was not complete
    };

    bool attempt(std::function<void()> const& action);
    std::optional<LogFile> openFile(fdn::Path const& path);
    void requireAnswer(fdn::Path const& path);
    std::vector<LogFile> openRotatedFiles();
    bool isKnown(LogFile const& file) const;
    void addOlderFiles();
    void addNewerFiles(LogFile current);
    std::vector<LogFile> openNewerRotatedFiles();
    void lookAt(Part& part) const;
    std::optional<Entry> readPreviousIn(std::size_t index);
    std::optional<Entry> readNextIn(Part& part);
    std::optional<Entry> read(Part const& part, LineSpan const& line);

    LogPlace m_place;
    EntryParser m_parser;
    std::vector<Part> m_parts; // from the newest to the oldest
    bool m_isSilent = false;   // whether its file system does not answer
    bool m_hasOldest = false;  // whether the rotated files are among them
    std::size_t m_stepped = 0; // the part that was read back in last
    off_t m_placeBeforeStep = 0;
    std::optional<std::int64_t> m_time;
    std::vector<std::string> m_problems;
    std::set<std::string> m_knownProblems;
};

} // namespace dmnctl
