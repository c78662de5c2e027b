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

void logInfo(String const& text) {
    writeSafely([&](CXMLLog& log) { log.writeInfo(text); });
}

void logError(String const& text) {
    writeSafely([&](CXMLLog& log) { log.writeError(text); });
}

void logError(std::exception const& error, String const& situation, String const& where) {
    writeSafely([&](CXMLLog& log) { log.writeError(error, situation, where); });
}

} // namespace fdn
