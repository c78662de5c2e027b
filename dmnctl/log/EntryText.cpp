#include <dmnctl/log/EntryText.h>

#include <dmnctl/log/moment.h>
#include <dmnctl/show/text.h>

#include <algorithm>

namespace dmnctl {

namespace {

constexpr int kTimeWidth = 23;
constexpr int kLevelWidth = 7;

std::string fill(std::string const& text, int width) {
    return text + std::string(static_cast<std::size_t>(std::max(width - countColumns(text), 0)), ' ');
}

std::string composeTime(Entry const& entry) {
    return entry.microseconds ? composeLocalTime(*entry.microseconds) : toPrintable(entry.time);
}

std::string join(std::string const& left, std::string const& right) {
    return left.empty() || right.empty() ? left + right : left + ": " + right;
}

std::string composeMessage(ErrorDescription const& error) {
    std::string const second = toPrintable(error.second);
    return toPrintable(error.what) + (second.empty() ? "" : " (" + second + ")");
}

std::string composeFirstLine(Entry const& entry) {
    std::string const text = toPrintable(entry.text);
    if (entry.isDamaged)
        return "(damaged) " + text;
    return join(text, entry.errors.empty() ? std::string() : composeMessage(entry.errors.front()));
}

std::string composeDetail(std::string const& name, std::string const& value, std::size_t indentation) {
    if (value.empty())
        return {};
    return std::string(indentation, ' ') + toPrintable(name) + ": " + toPrintable(value) + "\n";
}

// An error without a code has the code -1.
std::string composeDetails(ErrorDescription const& error, std::size_t indentation) {
    std::string details = composeDetail("code", error.code == "-1" ? "" : error.code, indentation);
    for (Property const& property : error.properties)
        details += composeDetail(property.name, property.value, indentation);
    return details;
}

// All causes are indented alike: a chain may have any length.
std::string composeErrors(Entry const& entry) {
    std::string text = composeDetail("where", entry.where, 4);
    bool isCause = false;
    for (ErrorDescription const& error : entry.errors) {
        if (isCause)
            text += "    caused by: " + composeMessage(error) + "\n";
        text += composeDetails(error, isCause ? 8 : 4);
        isCause = true;
    }
    return text;
}

} // namespace

std::string EntryText::compose(Entry const& entry, std::string const& id) const {
    return fill(composeTime(entry), kTimeWidth) + "  " + composeId(id) + composeLevel(entry) + "  " +
           composeFirstLine(entry) + "\n" + composeErrors(entry);
}

std::string EntryText::composeId(std::string const& id) const {
    return m_idWidth == 0 ? std::string() : fill(toPrintable(id), m_idWidth) + "  ";
}

std::string EntryText::composeLevel(Entry const& entry) const {
    std::string const level = fill(toPrintable(entry.level), kLevelWidth);
    if (entry.level == "info" || entry.level.empty())
        return level;
    if (entry.level == "debug")
        return m_terminal.paint(level, Colour::Grey);
    return m_terminal.paint(level, isError(entry) ? Colour::Red : Colour::Yellow);
}

} // namespace dmnctl
