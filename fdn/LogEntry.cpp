#include <fdn/LogEntry.h>

#include <fdn/CError.h>
#include <fdn/XMLText.h>

#include <cstdio>
#include <ctime>

#include <time.h>
#include <unistd.h>

namespace fdn {

namespace {

// RFC 3339, in UTC and with microseconds.
std::string formatCurrentTime() {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    tm date = {};
    gmtime_r(&now.tv_sec, &date);
    char seconds[32];
    char fraction[32];
    std::strftime(seconds, sizeof seconds, "%Y-%m-%dT%H:%M:%S", &date);
    std::snprintf(fraction, sizeof fraction, ".%06ldZ", now.tv_nsec / 1000);
    return std::string(seconds) + fraction;
}

std::string formatAttribute(char const* name, std::string const& value) {
    return std::string(" ") + name + "=\"" + value + "\"";
}

std::string formatElement(std::string const& name, std::string const& content) {
    return content.empty() ? std::string() : "<" + name + ">" + content + "</" + name + ">";
}

std::string describeProperties(CProps const& props) {
    std::string properties;
    for (auto const& [name, value] : props)
        properties += "<property" + formatAttribute("name", toXMLAttribute(name)) + ">" + toXMLText(value) +
                      "</property>";
    return properties;
}

std::string describeException(std::exception const& error) {
    std::string const what = formatElement("what", toXMLText(getMessageOf(error)));
    auto const* const known = dynamic_cast<CError const*>(&error);
    if (known == nullptr)
        return what;
    P<CError> const cause = known->getCause();
    return what + formatElement("second", toXMLText(known->getSecondText())) +
           formatElement("code", std::to_string(known->getCode())) + describeProperties(known->getProps()) +
           (cause ? formatElement("cause", describeException(*cause)) : std::string());
}

} // namespace

std::string formatLogEntry(LogLevel level, std::string const& content) {
    return "<entry" + formatAttribute("time", formatCurrentTime()) +
           formatAttribute("level", level == LogLevel::Error ? "error" : "info") +
           formatAttribute("process", std::to_string(getpid())) +
           formatAttribute("thread", std::to_string(gettid())) + ">" + content + "</entry>";
}

std::string describeError(std::exception const& error, String const& situation, String const& where) {
    return formatElement("text", toXMLText(situation)) + formatElement("where", toXMLText(where)) +
           describeException(error);
}

} // namespace fdn
