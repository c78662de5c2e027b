#include <fdn/log/LogWriter.h>

#include <fdn/log/LogPlace.h>
#include <fdn/log/sendToSyslog.h>

#include <exception>
#include <mutex>

#include <pthread.h>
#include <syslog.h>

namespace fdn {

namespace {

// One for all logs, because the handlers of a fork must find it. It has no destructor to run, so it can be
// used as long as the process lives.
std::mutex logMutex;

// Since the last entry that was written. Guarded by the mutex.
unsigned long lostEntries = 0;

void lockBeforeFork() {
    logMutex.lock();
}

void unlockAfterFork() {
    logMutex.unlock();
}

void startOverInChild() {
    lostEntries = 0; // the parent will report those
    logMutex.unlock();
}

// The child of a fork has only the thread that called it. If another thread were just writing an entry, the
// child would wait forever for it to finish.
void keepForksOutOfEntries() {
    static int const registered = pthread_atfork(&lockBeforeFork, &unlockAfterFork, &startOverInChild);
    static_cast<void>(registered);
}

bool writeToSyslog(LogLevel level, std::string const& entry) {
    int const priority = LOG_DAEMON | (level == LogLevel::Error ? LOG_ERR : LOG_INFO);
    return sendToSyslog(priority, entry.substr(0, entry.size() - 1)); // without the line feed
}

std::string describeLoss() {
    return "Entries lost before this one: " + std::to_string(lostEntries);
}

} // namespace

LogWriter::LogWriter() {
    keepForksOutOfEntries();
}

void LogWriter::write(LogLevel level, std::string const& content) {
    std::lock_guard<std::mutex> const lock(logMutex);
    if (lostEntries > 0 && writeSomewhere(LogLevel::Error, describeLoss()))
        lostEntries = 0;
    if (!writeSomewhere(level, content))
        ++lostEntries;
}

void LogWriter::closeFile() {
    std::lock_guard<std::mutex> const lock(logMutex);
    m_file.reset();
}

bool LogWriter::writeSomewhere(LogLevel level, std::string const& content) {
    std::string const entry = formatLogEntry(level, content);
    return writeToFile(entry) || writeToSyslog(level, entry);
}

bool LogWriter::writeToFile(std::string const& entry) {
    try {
        if (!m_file)
            m_file.emplace(chooseLogPlace());
        m_file->append(entry);
        return true;
    } catch (std::exception const&) {
        return false;
    }
}

} // namespace fdn
