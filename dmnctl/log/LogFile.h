#pragma once

#include <dmnctl/log/Descriptor.h>

#include <fdn/Path.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <sys/stat.h>

namespace dmnctl {

/// What tells a file from all others that exist.
using FileId = std::pair<dev_t, ino_t>;

/// A line in a file: from where to where it goes, with its line feed.
struct LineSpan {
    off_t begin = 0;
    off_t end = 0;
    bool isComplete = false; ///< whether it ends with a line feed
};

/// A file of a log, open for reading. It may grow, and be renamed or deleted, meanwhile. Its lines are found
/// in either direction, at the cost of one block of memory.
class LogFile {
public:
    /// Opens the file at the path; nothing where there is none. It may have been placed there by the account
    /// under which the daemon runs, to make root show what that account must not read: only a regular file
    /// is taken, no symbolic link, and only one that belongs to the account or to root. Waits for no writer
    /// of a pipe. Throws CError for what is refused or cannot be opened.
    static std::optional<LogFile> open(fdn::Path const& path, unsigned account);

    FileId getId() const;

    struct stat examine() const;

    /// Forgets what was read before: the file may have changed.
    void refresh() { m_block.clear(); }

    /// The line that ends at `end`; nothing at the beginning of the file. Throws CError when the file cannot
    /// be read, and when the line has no end within 64 MiB: a file of no blocks can claim to be exabytes
    /// long.
    std::optional<LineSpan> findLineBefore(off_t end);

    /// The line that begins at `begin`, as far as the file goes up to `end`; nothing where there is no byte.
    /// Throws CError as findLineBefore() does.
    std::optional<LineSpan> findLineAfter(off_t begin, off_t end);

    /// Some bytes of the file, fewer where it ends. Throws CError when it cannot be read.
    std::string read(off_t begin, off_t end) const;

private:
    LogFile(fdn::Path const& path, Descriptor file);

    std::string_view getBytesFrom(off_t begin);
    std::string_view getBytesUpTo(off_t end);
    void load(off_t begin);
    void requireSearchable(off_t distance) const;
    std::size_t readInto(char* bytes, std::size_t size, off_t begin) const;

    fdn::Path m_path;
    Descriptor m_file;
    off_t m_blockBegin = 0;
    std::string m_block;
};

/// The paths to which the log at the path may have been renamed, by the library (NAME.log.1 and so on) or by
/// logrotate (NAME.log-20261122). Compressed files are left out. They are in an order in which a rotation
/// that goes on meanwhile hides none of the files from whoever opens one after the other. Throws CError when
/// the folder is there and cannot be read.
std::vector<fdn::Path> findRotatedFiles(fdn::Path const& path);

} // namespace dmnctl
