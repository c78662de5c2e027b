#include <dmnctl/log/Log.h>

#include <dmnctl/show/text.h>

#include <fdn/CError.h>
#include <fdn/files.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include <fmt/core.h>

namespace dmnctl {

namespace {

// Entries of a MiB have been seen. What is longer is no entry, or one that nobody reads.
constexpr off_t kLongestLine = 2L * 1024 * 1024;
constexpr off_t kShownOfLongerLine = 1024;

// The file that the log is written to, and the one before: a process may write one more entry to a file that
// another one has just renamed.
constexpr std::size_t kFollowedFiles = 2;

using Modified = std::pair<time_t, long>;

Modified getModified(LogFile const& file) {
    struct stat const info = file.examine();
    return {info.st_mtim.tv_sec, info.st_mtim.tv_nsec};
}

std::int64_t getModifiedMicroseconds(LogFile const& file) {
    auto const [seconds, nanoseconds] = getModified(file);
    return seconds * std::int64_t(1000000) + nanoseconds / 1000;
}

bool isNewer(LogFile const& left, LogFile const& right) {
    return getModified(left) > getModified(right);
}

Entry describeLongLine(LogFile const& file, LineSpan const& line) {
    Entry entry;
    entry.text = fmt::format("{}... (a line of {} bytes)",
                             file.read(line.begin, line.begin + kShownOfLongerLine), line.end - line.begin);
    entry.isDamaged = true;
    return entry;
}

// Two processes that both find a torn line begin a new one each.
bool isEmpty(LineSpan const& line) {
    return line.isComplete && line.end - line.begin == 1;
}

} // namespace

Log::Log(LogPlace const& place) : m_place(place) {
    if (std::optional<LogFile> file = openFile(m_place.file)) {
        off_t const end = file->examine().st_size;
        m_parts.push_back({std::move(*file), end, end});
    } else if (m_problems.empty()) {
        addOlderFiles();
    } else { // the folder may be just as closed, and one complaint is enough
        m_hasOldest = true;
    }
}

std::optional<FileId> Log::getFileId() const {
    return m_parts.empty() ? std::nullopt : std::optional(m_parts.front().file.getId());
}

std::optional<Entry> Log::readPrevious() {
    std::optional<Entry> entry;
    for (std::size_t i = 0; !entry; ++i) {
        if (i == m_parts.size())
            addOlderFiles();
        if (i == m_parts.size())
            break;
        if (!attempt([&] { entry = readPreviousIn(i); }))
            m_parts[i].begin = m_parts[i].place;
    }
    return entry;
}

// A file that is cut off meanwhile may have claimed any size: its missing lines, which are empty, are not
// passed over one by one.
std::optional<Entry> Log::readPreviousIn(std::size_t index) {
    Part& part = m_parts[index];
    if (!m_time)
        m_time = getModifiedMicroseconds(part.file);
    while (part.place > part.begin) {
        auto const line = part.file.findLineBefore(part.place);
        m_stepped = index;
        m_placeBeforeStep = std::exchange(part.place, line->begin);
        bool const isPending = part.isGrowing && !line->isComplete;
        if (!isPending && !isEmpty(*line))
            return read(part, *line);
        part.place = std::min(part.place, part.file.examine().st_size);
    }
    return std::nullopt;
}

std::optional<Entry> Log::readNext() {
    std::optional<Entry> entry;
    for (auto part = m_parts.rbegin(); !entry && part != m_parts.rend(); ++part) {
        if (!attempt([&] { entry = readNextIn(*part); }))
            part->place = part->end;
    }
    return entry;
}

std::optional<Entry> Log::readNextIn(Part& part) {
    while (part.incomplete != part.end) {
        auto const line = part.file.findLineAfter(part.place, part.end);
        if (!line)
            break;
        if (part.isGrowing && !line->isComplete) {
            part.incomplete = part.end;
            break;
        }
        part.place = line->end;
        if (!isEmpty(*line))
            return read(part, *line);
        part.end = std::min(part.end, part.file.examine().st_size);
    }
    return std::nullopt;
}

std::optional<Entry> Log::read(Part const& part, LineSpan const& line) {
    if (line.end - line.begin > kLongestLine)
        return describeLongLine(part.file, line);
    Entry entry = m_parser.parse(part.file.read(line.begin, line.end));
    if (entry.microseconds)
        m_time = entry.microseconds;
    return entry;
}

void Log::follow() {
    if (!m_parts.empty())
        m_parts.front().isGrowing = true;
}

// The sizes are taken after the look at the path: by then, whoever has renamed a file has written the last
// entry to it, and so that one comes before those of the new file.
void Log::look() {
    if (m_parts.size() > kFollowedFiles)
        m_parts.erase(m_parts.begin() + kFollowedFiles, m_parts.end());
    std::optional<LogFile> current = openFile(m_place.file);
    if (current && !isKnown(*current))
        addNewerFiles(std::move(*current));
    for (Part& part : m_parts)
        lookAt(part);
}

void Log::lookAt(Part& part) const {
    off_t const size = part.file.examine().st_size;
    bool const isNewest = &part == &m_parts.front();
    if (size == part.end && !isNewest)
        part.isGrowing = false;
    if (size < part.place) // it was emptied
        part.place = 0;
    part.end = size;
    part.incomplete = -1;
    part.file.refresh();
}

void Log::addOlderFiles() {
    if (std::exchange(m_hasOldest, true))
        return;
    std::vector<LogFile> files = openRotatedFiles();
    // Among themselves they differ, and there may be thousands.
    files.erase(
        std::remove_if(files.begin(), files.end(), [&](LogFile const& file) { return isKnown(file); }),
        files.end());
    for (LogFile& file : files) {
        off_t const end = file.examine().st_size;
        m_parts.push_back({std::move(file), end, end});
    }
}

// What was written to a file that is renamed again before anybody has looked is not lost either.
void Log::addNewerFiles(LogFile current) {
    std::vector<LogFile> files;
    files.push_back(std::move(current));
    for (LogFile& file : openNewerRotatedFiles())
        files.push_back(std::move(file));
    std::vector<Part> parts;
    for (LogFile& file : files)
        parts.push_back({std::move(file)});
    parts.front().isGrowing = true;
    std::move(m_parts.begin(), m_parts.end(), std::back_inserter(parts));
    m_parts = std::move(parts);
}

// Those that come before the newest known one. If that one is gone, the time of the last entry tells.
std::vector<LogFile> Log::openNewerRotatedFiles() {
    std::vector<LogFile> files = openRotatedFiles();
    if (m_parts.empty())
        return files;
    auto first = std::find_if(files.begin(), files.end(), [&](LogFile const& file) { return isKnown(file); });
    if (first == files.end())
        first = std::find_if_not(files.begin(), files.end(),
                                 [&](LogFile const& file) { return isNewer(file, m_parts.front().file); });
    files.erase(first, files.end());
    return files;
}

bool Log::isKnown(LogFile const& file) const {
    return std::any_of(m_parts.begin(), m_parts.end(),
                       [id = file.getId()](Part const& part) { return part.file.getId() == id; });
}

std::optional<LogFile> Log::openFile(fdn::Path const& path) {
    std::optional<LogFile> file;
    attempt([&] {
        requireAnswer(path);
        file = LogFile::open(path, m_place.account);
    });
    return file;
}

// An account can mount a file system that never answers. Each time that it is asked, one more process is left
// behind that waits for it, so this is done once.
void Log::requireAnswer(fdn::Path const& path) {
    m_isSilent = m_isSilent || fdn::isSilent(path);
    if (m_isSilent)
        throw fdn::CError("The log '" + m_place.file.getText() +
                          "' is on a file system that does not answer.");
}

// From the newest to the oldest. A file that is renamed meanwhile may be met twice.
std::vector<LogFile> Log::openRotatedFiles() {
    std::vector<fdn::Path> paths;
    attempt([&] { paths = findRotatedFiles(m_place.file); });
    std::vector<LogFile> files;
    std::set<FileId> ids;
    for (fdn::Path const& path : paths) {
        std::optional<LogFile> file = openFile(path);
        if (file && ids.insert(file->getId()).second)
            files.push_back(std::move(*file));
    }
    std::stable_sort(files.begin(), files.end(), &isNewer);
    return files;
}

std::vector<std::string> Log::takeProblems() {
    return std::exchange(m_problems, {});
}

bool Log::attempt(std::function<void()> const& action) {
    try {
        action();
        return true;
    } catch (fdn::CError const& error) {
        std::string const problem = toUTF8(error.getMessage());
        if (m_knownProblems.insert(problem).second)
            m_problems.push_back(problem);
        return false;
    }
}

} // namespace dmnctl
