#include <fdn/LogEntry.h>

#include <fdn/CError.h>
#include <fdn/XMLText.h>

#include <ctime>

#include <time.h>
#include <unistd.h>

namespace fdn {

namespace {

constexpr std::size_t kRoomForAttributes = 128;

// In decimal, with zeros in front up to the width. Several times as quick as printf() and strftime(), which
// would take half of the time of an entry.
std::string formatNumber(long number, std::size_t width) {
    std::string const digits = std::to_string(number);
    return digits.size() < width ? std::string(width - digits.size(), '0') + digits : digits;
}

// RFC 3339, in UTC and with microseconds.
std::string formatCurrentTime() {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    tm date = {};
    gmtime_r(&now.tv_sec, &date);
    return formatNumber(date.tm_year + 1900, 4) + "-" + formatNumber(date.tm_mon + 1, 2) + "-" +
           formatNumber(date.tm_mday, 2) + "T" + formatNumber(date.tm_hour, 2) + ":" +
           formatNumber(date.tm_min, 2) + ":" + formatNumber(date.tm_sec, 2) + "." +
           formatNumber(now.tv_nsec / 1000, 6) + "Z";
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
    std::string entry;
    entry.reserve(kRoomForAttributes + content.size());
    entry += "<entry time=\"";
    entry += formatCurrentTime();
    entry += level == LogLevel::Error ? "\" level=\"error" : "\" level=\"info";
    entry += "\" process=\"";
    entry += std::to_string(getpid());
    entry += "\" thread=\"";
    entry += std::to_string(gettid());
    entry += "\">";
    entry += content;
    entry += "</entry>";
    return entry;
}

std::string describeError(std::exception const& error, String const& situation, String const& where) {
    return formatElement("text", toXMLText(situation)) + formatElement("where", toXMLText(where)) +
           describeException(error);
}

} // namespace fdn
