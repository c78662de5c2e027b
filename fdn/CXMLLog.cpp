#include <fdn/CXMLLog.h>

#include <fdn/CError.h>
#include <fdn/log/LogEntry.h>
#include <fdn/log/LogWriter.h>
#include <fdn/log/XMLText.h>
#include <fdn/log/leastLevel.h>
#include <fdn/log/readableEntry.h>
#include <fdn/objects/KeptGlobal.h>

namespace fdn {

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

// Guard and create function have the names that the interface fixes.
char& CXMLLog::globalGuard() {
    static char guard = 0;
    return guard;
}

CXMLLog::CXMLLog() : m_writer(std::make_unique<LogWriter>()) {}

CXMLLog::~CXMLLog() = default;

void CXMLLog::write(LogLevel level, String const& text) {
    if (level >= leastLevel)
        m_writer->write(level, toXMLText(text), LogWriter::isShown() ? toReadableText(text) : std::string());
}

void CXMLLog::writeInfo(String const& text) {
    write(LogLevel::Info, text);
}

void CXMLLog::writeError(String const& text) {
    write(LogLevel::Error, text);
}

void CXMLLog::writeError(std::exception const& error, String const& situation, String const& where) {
    m_writer->write(LogLevel::Error, describeError(error, situation, where),
                    LogWriter::isShown() ? describeErrorReadably(error, situation, where) : std::string());
}

void CXMLLog::close() {
    m_writer->closeFile();
}

Path CXMLLog::getFile() const {
    try {
        return m_writer->getPath();
    } catch (CError const&) {
        return Path();
    }
}

} // namespace fdn
