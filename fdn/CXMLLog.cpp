#include <fdn/CXMLLog.h>

#include <fdn/log/LogEntry.h>
#include <fdn/log/LogWriter.h>
#include <fdn/log/XMLText.h>
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

void CXMLLog::writeInfo(String const& text) {
    m_writer->write(LogLevel::Info, toXMLText(text));
}

void CXMLLog::writeError(String const& text) {
    m_writer->write(LogLevel::Error, toXMLText(text));
}

void CXMLLog::writeError(std::exception const& error, String const& situation, String const& where) {
    m_writer->write(LogLevel::Error, describeError(error, situation, where));
}

void CXMLLog::close() {
    m_writer->closeFile();
}

} // namespace fdn
