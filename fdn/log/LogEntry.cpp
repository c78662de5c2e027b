#include <fdn/log/LogEntry.h>

#include <fdn/CError.h>
#include <fdn/log/TimeText.h>
#include <fdn/log/XMLText.h>
#include <fdn/log/levelNames.h>

#include <time.h>
#include <unistd.h>

namespace fdn {

namespace {

constexpr std::size_t kRoomForAttributes = 128;

// In the form of RFC 3339, in UTC and with microseconds.
void appendCurrentTime(std::string& text) {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    text.append(TimeText(now).text, TimeText::kLength);
    text += 'Z';
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
    entry += "\" level=\"";
    entry += getLevelName(level);
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
