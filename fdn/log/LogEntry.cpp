#include <fdn/log/LogEntry.h>

#include <fdn/CError.h>
#include <fdn/log/UTCDate.h>
#include <fdn/log/XMLText.h>

#include <ctime>

#include <time.h>
#include <unistd.h>

namespace fdn {

namespace {

constexpr std::size_t kRoomForAttributes = 128;
constexpr long kSecondsPerDay = 24L * 60 * 60;

// Overwrites `width` digits with the number in decimal. printf() and strftime() are several times as slow;
// they would take half the time of an entry.
void putNumber(char* digits, int width, long number) {
    while (width-- > 0) {
        digits[width] = static_cast<char>('0' + number % 10);
        number /= 10;
    }
}

// In the form of RFC 3339, in UTC and with microseconds.
void appendCurrentTime(std::string& text) {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    UTCDate const date = toUTCDate(static_cast<int>(now.tv_sec / kSecondsPerDay));
    long const seconds = now.tv_sec % kSecondsPerDay;
    char time[] = "0000-00-00T00:00:00.000000Z";
    putNumber(time, 4, date.year);
    putNumber(time + 5, 2, date.month);
    putNumber(time + 8, 2, date.day);
    putNumber(time + 11, 2, seconds / 3600);
    putNumber(time + 14, 2, seconds / 60 % 60);
    putNumber(time + 17, 2, seconds % 60);
    putNumber(time + 20, 6, now.tv_nsec / 1000);
    text += time;
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

// A cause is described within the error that it caused, to any depth.
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
    appendCurrentTime(entry);
    entry += level == LogLevel::Error ? "\" level=\"error" : "\" level=\"info";
    entry += "\" process=\"";
    entry += std::to_string(getpid());
    entry += "\" thread=\"";
    entry += std::to_string(gettid());
    entry += "\">";
    entry += content;
    entry += "</entry>\n";
    return entry;
}

std::string describeError(std::exception const& error, String const& situation, String const& where) {
    return formatElement("text", toXMLText(situation)) + formatElement("where", toXMLText(where)) +
           describeException(error);
}

} // namespace fdn
