#include <fdn/log.h>

#include <fdn/CXMLLog.h>

#include <cerrno>

namespace fdn {

namespace {

template <class Write>
void writeSafely(Write write) {
    int const savedError = errno;
    try {
        write(CXMLLog::getGlobal());
    } catch (std::exception const&) {
        // When even this fails, for lack of memory perhaps, there is nobody left to tell.
    }
    errno = savedError;
}

} // namespace

void logDebug(String const&) {}

void logInfo(String const& text) {
    writeSafely([&](CXMLLog& log) { log.writeInfo(text); });
}

void logWarning(String const& text) {
    logInfo(text);
}

void logError(String const& text) {
    writeSafely([&](CXMLLog& log) { log.writeError(text); });
}

void logError(std::exception const& error, String const& situation, String const& where) {
    writeSafely([&](CXMLLog& log) { log.writeError(error, situation, where); });
}

void setLogLevel(LogLevel) noexcept {}

LogLevel getLogLevel() noexcept {
    return LogLevel::Info;
}

std::optional<LogLevel> parseLogLevel(String const&) {
    return std::nullopt;
}

void showLogOnStandardError() {}

Path getLogFile() {
    return Path();
}

Path getLogFileOf(Path const&, CSystemUserID const&) {
    return Path();
}

} // namespace fdn
