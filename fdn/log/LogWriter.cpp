#include <fdn/log/LogWriter.h>

#include <fdn/log/LogPlace.h>
#include <fdn/log/readableEntry.h>
#include <fdn/log/sendToSyslog.h>

#include <atomic>
#include <exception>
#include <mutex>

#include <pthread.h>
#include <syslog.h>
#include <unistd.h>

namespace fdn {

namespace {

// One for all logs, because the handlers of a fork must find it. It has no destructor to run, so it can be
// used as long as the process lives.
std::mutex logMutex;

// Since the last entry that was written. Guarded by the mutex.
unsigned long lostEntries = 0;

// Whether this process was forked by one that has used the log. Guarded by the mutex.
bool isForked = false;

std::atomic<bool> isLogShown{false};

void lockBeforeFork() {
    logMutex.lock();
}

void unlockAfterFork() {
    logMutex.unlock();
}

void startOverInChild() {
    lostEntries = 0; // the parent will report those
    isForked = true;
    logMutex.unlock();
}

// The child of a fork has only the thread that called it. If another thread were just writing an entry, the
// child would wait forever for it to finish.
void keepForksOutOfEntries() {
    static int const registered = pthread_atfork(&lockBeforeFork, &unlockAfterFork, &startOverInChild);
    static_cast<void>(registered);
}

int getSyslogPriority(LogLevel level) {
    constexpr int kPriorities[] = {LOG_DEBUG, LOG_INFO, LOG_WARNING, LOG_ERR};
    return LOG_DAEMON | kPriorities[static_cast<std::size_t>(level)];
}

bool writeToSyslog(LogLevel level, std::string const& entry) {
    return sendToSyslog(getSyslogPriority(level), entry.substr(0, entry.size() - 1)); // without the line feed
}

std::string describeLoss() {
    return "Entries lost before this one: " + std::to_string(lostEntries);
}

} // namespace

LogWriter::LogWriter() {
    keepForksOutOfEntries();
}

void LogWriter::write(LogLevel level, std::string const& content, std::string const& readable) {
    std::lock_guard<std::mutex> const lock(logMutex);
    if (lostEntries > 0 && writeSomewhere(LogLevel::Error, describeLoss()))
        lostEntries = 0;
    if (!writeSomewhere(level, content))
        ++lostEntries;
    if (isShown())
        display(level, readable);
}

void LogWriter::closeFile() {
    std::lock_guard<std::mutex> const lock(logMutex);
    m_file.reset();
    m_display.reset();
}

void LogWriter::show() {
    lookAtTimeZone();
    isLogShown = true;
}

bool LogWriter::isShown() {
    return isLogShown;
}

Path LogWriter::getPath() const {
    std::lock_guard<std::mutex> const lock(logMutex);
    return m_file ? m_file->getPath() : chooseLogPlace(ThisProcess()).file;
}

bool LogWriter::writeSomewhere(LogLevel level, std::string const& content) {
    std::string const entry = formatLogEntry(level, content);
    return writeToFile(entry) || writeToSyslog(level, entry);
}

bool LogWriter::writeToFile(std::string const& entry) {
    try {
        if (!m_file)
            m_file.emplace(chooseLogPlace(ThisProcess()));
        m_file->append(entry);
        return true;
    } catch (std::exception const&) {
        return false;
    }
}

// Local time needs a lock of the C library, which another thread may have held when this process was forked.
void LogWriter::display(LogLevel level, std::string const& readable) {
    if (m_file && m_file->isSameAs(STDERR_FILENO))
        return;
    if (!isForked)
        lookAtTimeZone();
    try {
        if (!m_display)
            m_display.emplace(getPlaceOfStandardError());
        m_display->append(formatReadableEntry(level, readable));
    } catch (std::exception const&) {
        // Nobody looks at it any more, or not fast enough.
    }
}

} // namespace fdn
