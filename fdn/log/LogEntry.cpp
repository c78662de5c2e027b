#include <fdn/log/LogEntry.h>

#include <fdn/CError.h>
#include <fdn/log/TimeText.h>
#include <fdn/log/XMLText.h>
#include <fdn/log/levelNames.h>

#include <time.h>
#include <unistd.h>

namespace fdn {

namespace {

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

FixedText<160> composeStartTag(LogLevel level) {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    FixedText<160> tag;
    tag << "<entry time=\"" << TimeText(now) << "Z\" level=\"" << getLevelName(level) << "\" process=\""
        << getpid() << "\" thread=\"" << gettid() << "\">";
    return tag;
}

std::string formatLogEntry(LogLevel level, std::string const& content) {
    auto const tag = composeStartTag(level);
    std::string_view const startTag = tag;
    std::string entry;
    entry.reserve(startTag.size() + content.size() + kEndOfEntry.size());
    entry += startTag;
    entry += content;
    entry += kEndOfEntry;
    return entry;
}

std::string describeError(std::exception const& error, String const& situation, String const& where) {
    return formatElement("text", toXMLText(situation)) + formatElement("where", toXMLText(where)) +
           describeException(error);
}

} // namespace fdn
