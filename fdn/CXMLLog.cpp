#include <fdn/CXMLLog.h>

#include <fdn/log/LogEntry.h>
#include <fdn/log/LogFile.h>
#include <fdn/log/Syslog.h>
#include <fdn/log/XMLText.h>
#include <fdn/objects/KeptGlobal.h>

#include <mutex>

#include <pthread.h>
#include <syslog.h>

namespace fdn {

namespace {

// One for all logs, because the handlers of a fork have to find it. It needs no destruction, so that it can
// be used for as long as the process lives.
std::mutex logMutex;

// Since the last one that was written. Guarded by the mutex.
unsigned long lostEntries = 0;

void lockBeforeFork() {
    logMutex.lock();
}

void unlockAfterFork() {
    logMutex.unlock();
}

void beginAnewInChild() {
    lostEntries = 0; // the parent will tell of those
    logMutex.unlock();
}

// The child of a fork has only the thread that called it. Were another one just writing an entry, the child
// would wait for it for ever.
void keepForksOutOfEntries() {
    static int const registered = pthread_atfork(&lockBeforeFork, &unlockAfterFork, &beginAnewInChild);
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

CXMLLog::CGlobalLogCloser::~CGlobalLogCloser() {
    try {
        getGlobal().close();
    } catch (std::exception const&) {
        // There is no log to close.
    }
}

CXMLLog& CXMLLog::getGlobal() {
    return getKeptGlobal<CXMLLog, &globalGuard, &createGlobalInstance>();
}

P<CXMLLog> CXMLLog::createGlobalInstance() {
    return newObj<CXMLLog>();
}

char& CXMLLog::globalGuard() {
    static char guard = 0;
    return guard;
}

CXMLLog::CXMLLog() {
    keepForksOutOfEntries();
}

CXMLLog::~CXMLLog() = default;

void CXMLLog::writeInfo(String const& text) {
    write(LogLevel::Info, toXMLText(text));
}

void CXMLLog::writeError(String const& text) {
    write(LogLevel::Error, toXMLText(text));
}

void CXMLLog::writeError(std::exception const& error, String const& situation, String const& where) {
    write(LogLevel::Error, describeError(error, situation, where));
}

void CXMLLog::close() {
    std::lock_guard<std::mutex> const lock(logMutex);
    m_file.reset();
}

void CXMLLog::write(LogLevel level, std::string const& content) {
    std::lock_guard<std::mutex> const lock(logMutex);
    if (lostEntries > 0 && writeSomewhere(LogLevel::Error, describeLoss()))
        lostEntries = 0;
    if (!writeSomewhere(level, content))
        ++lostEntries;
}

bool CXMLLog::writeSomewhere(LogLevel level, std::string const& content) {
    std::string const entry = formatLogEntry(level, content);
    return writeToFile(entry) || writeToSyslog(level, entry);
}

bool CXMLLog::writeToFile(std::string const& entry) {
    try {
        if (m_file == nullptr)
            m_file = std::make_unique<LogFile>(chooseLogPlace());
        m_file->append(entry);
        return true;
    } catch (std::exception const&) {
        return false;
    }
}

} // namespace fdn
