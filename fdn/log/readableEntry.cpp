#include <fdn/log/readableEntry.h>

#include <fdn/CError.h>
#include <fdn/log/TimeText.h>
#include <fdn/log/characters.h>
#include <fdn/log/levelNames.h>

#include <atomic>

#include <time.h>

namespace fdn {

namespace {

// Of local time. An object that a signal handler may read.
std::atomic<long> secondsAheadOfUTC{0};
static_assert(std::atomic<long>::is_always_lock_free);

String escape(wxUint32 code) {
    if (code == '\n')
        return "\\n";
    if (code == '\t')
        return "\\t";
    return String::Format("\\x%02x", static_cast<unsigned>(code));
}

String inParentheses(String const& text) {
    return text.empty() ? String() : " (" + text + ")";
}

// An error without a code has the code -1.
String listDetails(CError const& error) {
    String details;
    if (error.getCode() != -1)
        details += "; code: " + String(std::to_string(error.getCode()).c_str());
    for (auto const& [name, value] : error.getProps())
        details += "; " + name + ": " + value;
    return details;
}

String inBrackets(String const& list) {
    return list.empty() ? String() : " [" + list + "]";
}

String joinDetails(String const& where, String const& details) {
    return where.empty() ? details.Mid(2) : where + details; // 2: the first separator
}

String describe(std::exception const& error, String const& where) {
    String const message = getMessageOf(error);
    auto const* const known = dynamic_cast<CError const*>(&error);
    if (known == nullptr)
        return message + inBrackets(where);
    P<CError> const cause = known->getCause();
    return message + inParentheses(known->getSecondText()) +
           inBrackets(joinDetails(where, listDetails(*known))) +
           (cause ? "; caused by: " + describe(*cause, String()) : String());
}

} // namespace

std::string toReadableText(String const& text) {
    String readable;
    for (wxUniChar const character : text) {
        wxUint32 const code = character.GetValue();
        if (isControlCharacter(code))
            readable += escape(code);
        else
            readable += isRepresentable(code) ? character : wxUniChar(kReplacementCharacter);
    }
    return readable.toUTF8();
}

std::string describeErrorReadably(std::exception const& error, String const& situation, String const& where) {
    return toReadableText((situation.empty() ? String() : situation + ": ") + describe(error, where));
}

FixedText<64> composeReadableStart(LogLevel level) {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    now.tv_sec += secondsAheadOfUTC;
    TimeText time(now);
    time.text[10] = ' ';
    FixedText<64> start;
    start << std::string_view(time).substr(0, TimeText::kLengthToMilliseconds) << " ";
    if (level != LogLevel::Info)
        start << getLevelName(level) << ": ";
    return start;
}

std::string formatReadableEntry(LogLevel level, std::string const& text) {
    auto const start = composeReadableStart(level);
    return std::string(std::string_view(start)) + text + "\n";
}

void lookAtTimeZone() {
    time_t const now = ::time(nullptr);
    tm local = {};
    if (localtime_r(&now, &local) != nullptr)
        secondsAheadOfUTC = local.tm_gmtoff;
}

} // namespace fdn
