#pragma once

#include <fdn/files.h>
#include <fdn/log/LogPlace.h>
#include <fdn/system/Descriptor.h>

#include <string>

#include <sys/stat.h>

namespace fdn {

/// A file that any number of processes append lines to, and rotate when it is full.
///
/// It is opened by the first line, and again when its path has come to name another file or none. No
/// operation waits for anybody. They throw CError; the next line starts anew. A line of which only a part was
/// written, by whomever, is ended before the next one; that of a pipe or socket, by this object alone.
class LogFile {
public:
    explicit LogFile(LogPlace const& place) : m_place(place), m_name(toFileName(place.file)) {}

    /// Appends the line, which ends with its line feed, with one write.
    void append(std::string const& line);

private:
    void letGoWhenClosed();
    void open();
    Descriptor openByName() const;
    Descriptor duplicate() const;
    void rotate(std::size_t size);
    void shiftFiles() const;
    Path getOldFile(int age) const;
    void lookForTornLine();
    bool endsWithinLine() const;
    void write(std::string const& bytes);
    [[noreturn]] void fail(char const* func) const;

    static constexpr off_t kUnknown = -1;

    LogPlace m_place;
    wxCharBuffer m_name;
    Descriptor m_file;
    struct stat m_info = {};    // of the open file, as it was when it was looked at last
    bool m_isDuplicate = false; // whether others use the open file, too
    off_t m_end = kUnknown;     // where the last line that this process wrote has ended
    bool m_isLineTorn = false;
};

} // namespace fdn
