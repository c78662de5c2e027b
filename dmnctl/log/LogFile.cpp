#include <dmnctl/log/LogFile.h>

#include <fdn/CError.h>
#include <fdn/CFileSystemIterator.h>
#include <fdn/fileName.h>
#include <fdn/sysError.h>

#include <algorithm>
#include <cerrno>

#include <fcntl.h>

namespace dmnctl {

namespace {

constexpr off_t kBlockSize = 64L * 1024;
constexpr off_t kLongestSearch = 64L * 1024 * 1024;

bool isMissing(int error) {
    return error == ENOENT || error == ENOTDIR;
}

// A link to a file of root's would pass, although the account cannot make one where the kernel protects them.
bool belongsTo(struct stat const& file, unsigned account) {
    return file.st_uid == account || (file.st_uid == 0 && file.st_nlink <= 1);
}

void requireLog(struct stat const& file, fdn::Path const& path, unsigned account) {
    fdn::String const subject = "The log '" + path.getText() + "' ";
    if (!S_ISREG(file.st_mode))
        throw fdn::CError(subject + "is no regular file.");
    if (!belongsTo(file, account))
        throw fdn::CError(subject + "belongs neither to the daemon's account nor to root, but to user " +
                          std::to_string(file.st_uid).c_str() + ".");
}

[[noreturn]] void failToOpen(fdn::Path const& path, int error) {
    if (error == ELOOP)
        throw fdn::CError("The log '" + path.getText() + "' is a symbolic link.");
    fdn::throwSysError(error, {{"func", "open"}, {"action", "reading the log"}, {"path", path.getText()}});
}

bool isRotationMark(wxUniChar character) {
    return (character >= '0' && character <= '9') || character == '-';
}

// The rest of a rotated file's name is ".1", "-20261122" or "-20261122-1795341600".
bool isRotated(fdn::String const& name, fdn::String const& log) {
    fdn::String rest;
    if (!name.StartsWith(log + ".", &rest) && !name.StartsWith(log + "-", &rest))
        return false;
    return !rest.empty() && std::all_of(rest.begin(), rest.end(), isRotationMark);
}

// By number, as the library renames them: the later a path is in this order, the earlier it gets another
// file. Then by date.
bool isBefore(fdn::String const& left, fdn::String const& right) {
    return std::make_pair(left.length(), left) < std::make_pair(right.length(), right);
}

std::vector<fdn::String> listRotatedNames(fdn::Path const& folder, fdn::String const& log) {
    std::vector<fdn::String> names;
    try {
        fdn::CFileSystemIterator entry(folder);
        while (entry.next()) {
            if (isRotated(entry.getItemName(), log))
                names.push_back(entry.getItemName());
        }
    } catch (fdn::CError const& error) {
        if (!isMissing(static_cast<int>(error.getCode())))
            throw;
    }
    return names;
}

// A file that is just being renamed may be missing in a list of the folder.
void addUsualNames(std::vector<fdn::String>& names, fdn::String const& log) {
    for (char const* const number : {".1", ".2", ".3", ".4", ".5"}) {
        if (std::find(names.begin(), names.end(), log + number) == names.end())
            names.push_back(log + number);
    }
}

} // namespace

LogFile::LogFile(fdn::Path const& path, Descriptor file) : m_path(path), m_file(std::move(file)) {}

std::optional<LogFile> LogFile::open(fdn::Path const& path, unsigned account) {
    constexpr int kFlags = O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | O_NOFOLLOW;
    wxCharBuffer const name = fdn::toFileName(path);
    Descriptor file(::open(name, kFlags));
    if (!file.isOpen()) {
        int const error = errno;
        if (isMissing(error))
            return std::nullopt;
        failToOpen(path, error);
    }
    LogFile log(path, std::move(file));
    requireLog(log.examine(), path, account);
    return log;
}

FileId LogFile::getId() const {
    struct stat const info = examine();
    return {info.st_dev, info.st_ino};
}

struct stat LogFile::examine() const {
    struct stat info = {};
    if (fstat(m_file.get(), &info) != 0)
        fdn::throwLastSysError("fstat", "reading the log", m_path);
    return info;
}

std::optional<LineSpan> LogFile::findLineBefore(off_t end) {
    if (end == 0)
        return std::nullopt;
    bool const isComplete = getBytesUpTo(end).back() == '\n';
    off_t begin = isComplete ? end - 1 : end;
    while (begin > 0) {
        std::string_view const bytes = getBytesUpTo(begin);
        std::size_t const lineFeed = bytes.rfind('\n');
        begin -= static_cast<off_t>(bytes.size());
        if (lineFeed != std::string_view::npos)
            return LineSpan{begin + static_cast<off_t>(lineFeed) + 1, end, isComplete};
        requireSearchable(end - begin);
    }
    return LineSpan{0, end, isComplete};
}

std::optional<LineSpan> LogFile::findLineAfter(off_t begin, off_t end) {
    for (off_t position = begin; position < end;) {
        std::string_view const bytes =
            getBytesFrom(position).substr(0, static_cast<std::size_t>(end - position));
        std::size_t const lineFeed = bytes.find('\n');
        if (lineFeed != std::string_view::npos)
            return LineSpan{begin, position + static_cast<off_t>(lineFeed) + 1, true};
        position += static_cast<off_t>(bytes.size());
        requireSearchable(position - begin);
    }
    return begin < end ? std::optional(LineSpan{begin, end, false}) : std::nullopt;
}

void LogFile::requireSearchable(off_t distance) const {
    if (distance > kLongestSearch)
        throw fdn::CError("The log '" + m_path.getText() +
                          "' has more than 64 MiB without a line feed. What is there is left out.");
}

std::string LogFile::read(off_t begin, off_t end) const {
    std::string bytes(static_cast<std::size_t>(end - begin), '\0');
    bytes.resize(readInto(bytes.data(), bytes.size(), begin));
    return bytes;
}

// At least one byte.
std::string_view LogFile::getBytesFrom(off_t begin) {
    if (begin < m_blockBegin || begin >= m_blockBegin + static_cast<off_t>(m_block.size()))
        load(begin);
    return std::string_view(m_block).substr(static_cast<std::size_t>(begin - m_blockBegin));
}

// At least one byte.
std::string_view LogFile::getBytesUpTo(off_t end) {
    if (end <= m_blockBegin || end > m_blockBegin + static_cast<off_t>(m_block.size()))
        load(std::max(end - kBlockSize, off_t(0)));
    return std::string_view(m_block).substr(0, static_cast<std::size_t>(end - m_blockBegin));
}

// A file that has been cut off meanwhile is as long as it was, with line feeds where nothing is any more.
void LogFile::load(off_t begin) {
    m_blockBegin = begin;
    m_block.assign(static_cast<std::size_t>(kBlockSize), '\n');
    readInto(m_block.data(), m_block.size(), begin);
}

std::size_t LogFile::readInto(char* bytes, std::size_t size, off_t begin) const {
    std::size_t length = 0;
    while (length < size) {
        ssize_t const more =
            pread(m_file.get(), bytes + length, size - length, begin + static_cast<off_t>(length));
        if (more == 0)
            break;
        if (more > 0)
            length += static_cast<std::size_t>(more);
        else if (errno != EINTR)
            fdn::throwLastSysError("pread", "reading the log", m_path);
    }
    return length;
}

std::vector<fdn::Path> findRotatedFiles(fdn::Path const& path) {
    fdn::String const log = path.getText().AfterLast('/');
    fdn::Path const folder(path.getText().BeforeLast('/'));
    std::vector<fdn::String> names = listRotatedNames(folder, log);
    addUsualNames(names, log);
    std::sort(names.begin(), names.end(), &isBefore);
    std::vector<fdn::Path> files;
    for (fdn::String const& name : names)
        files.push_back(folder << fdn::Path(name));
    return files;
}

} // namespace dmnctl
