#include <fdn/log.h>

#include <fdn/CError.h>
#include <fdn/CXMLLog.h>
#include <fdn/log/LogOwner.h>
#include <fdn/log/LogPlace.h>
#include <fdn/log/LogWriter.h>
#include <fdn/log/leastLevel.h>
#include <fdn/log/levelNames.h>

#include <algorithm>
#include <cerrno>

#include <unistd.h>

namespace fdn {

namespace {

template <class Use>
void useSafely(Use use) {
    int const savedError = errno;
    try {
        use(CXMLLog::getGlobal());
    } catch (std::exception const&) {
        // When even this fails, for lack of memory perhaps, there is nobody left to tell.
    }
    errno = savedError;
}

// The standard streams of a detached program are the null device, and it has no other descriptors.
Path findFileOfDescriptor(int descriptor) {
    return descriptor <= STDERR_FILENO ? Path("/dev/null") : Path();
}

Path findLogFile(LaunchedProgram const& program) {
    try {
        LogPlace const place = chooseLogPlace(program);
        return place.descriptor < 0 ? place.file : findFileOfDescriptor(place.descriptor);
    } catch (CError const&) {
        return Path();
    }
}

} // namespace

void logDebug(String const& text) {
    useSafely([&](CXMLLog& log) { log.write(LogLevel::Debug, text); });
}

void logInfo(String const& text) {
    useSafely([&](CXMLLog& log) { log.writeInfo(text); });
}

void logWarning(String const& text) {
    useSafely([&](CXMLLog& log) { log.write(LogLevel::Warning, text); });
}

void logError(String const& text) {
    useSafely([&](CXMLLog& log) { log.writeError(text); });
}

void logError(std::exception const& error, String const& situation, String const& where) {
    useSafely([&](CXMLLog& log) { log.writeError(error, situation, where); });
}

void setLogLevel(LogLevel least) noexcept {
    leastLevel = std::min(least, LogLevel::Error);
}

LogLevel getLogLevel() noexcept {
    return leastLevel;
}

std::optional<LogLevel> parseLogLevel(String const& name) {
    for (LogLevel const level : {LogLevel::Debug, LogLevel::Info, LogLevel::Warning, LogLevel::Error})
        if (name == getLevelName(level))
            return level;
    return std::nullopt;
}

void showLogOnStandardError() {
    useSafely([](CXMLLog&) { LogWriter::show(); });
}

Path getLogFile() {
    Path file;
    useSafely([&](CXMLLog const& log) { file = log.getFile(); });
    return file;
}

Path getLogFileOf(Path const& program, CSystemUserID const& account, Path const& folder) {
    return findLogFile(LaunchedProgram(program, account, folder));
}

} // namespace fdn
