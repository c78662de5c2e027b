#pragma once

#include <fdn/log/LogPlace.h>
#include <fdn/system/Descriptor.h>

#include <string>

#include <sys/stat.h>

namespace fdn {

/// A file to which any number of processes append lines, and which they rotate when it is full.
///
/// The first line opens it, and so does a later one that finds another file, or none, at its path. One thread
/// at a time may use the object; it waits for the disk at most.
///
/// When only a part of a line was written, by this process or another, the next one begins on a new line. In
/// a pipe or socket, whose content cannot be looked at, this object does so for its own lines only.
class LogFile {
public:
    /// Opens nothing yet. Throws CUnencodableStringError when the place's name cannot be given to the system.
    explicit LogFile(LogPlace const& place) : m_place(place), m_name(toFileName(place.file)) {}

    /// Appends the line, which must end with a line feed, with one write. Throws CError when the file cannot
    /// be opened, or took the line only in part or not at all; the next line then tries again.
    void append(std::string const& line);

    Path const& getPath() const { return m_place.file; }

    /// Whether this descriptor of the program leads to the file that the last line went to.
    bool isSameAs(int descriptor) const;

private:
    void letGoWhenClosed();
    void reopen();
    bool isSharedWithProgram() const;
    Descriptor openWithFolder() const;
    Descriptor openByName() const;
    Descriptor duplicateGiven() const;
    void rotate(std::size_t size);
    void shiftFiles() const;
    Path getOldFile(int age) const;
    void lookForTornLine();
    bool endsWithinLine() const;
    void writeOnce(std::string const& bytes);
    [[noreturn]] void fail(char const* func) const;

    static constexpr off_t kUnknown = -1;

    LogPlace m_place;
    wxCharBuffer m_name;
    Descriptor m_file;
    struct stat m_info = {};    // of the open file, from the last look at it
    bool m_isDuplicate = false; // whether others use the same open file
    off_t m_end = kUnknown;     // where the last line of this process ended
    bool m_isLineTorn = false;
};

} // namespace fdn
