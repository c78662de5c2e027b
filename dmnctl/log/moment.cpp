#include <dmnctl/log/moment.h>

#include <dmnctl/show/text.h>

#include <fdn/CError.h>

#include <charconv>
#include <string_view>

#include <fmt/core.h>
#include <time.h>

namespace dmnctl {

namespace {

constexpr std::int64_t kSecond = 1000000;
constexpr std::int64_t kMinute = 60 * kSecond;
constexpr std::int64_t kHour = 60 * kMinute;
constexpr std::int64_t kDay = 24 * kHour;

constexpr int kFractionDigits = 6;

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

// Six digits and a Z, after the seconds' point.
std::optional<std::int64_t> parseFraction(std::string_view text) {
    std::int64_t fraction = 0;
    if (text.size() != kFractionDigits + 1 || text.back() != 'Z')
        return std::nullopt;
    auto const [end, error] = std::from_chars(text.data(), text.data() + kFractionDigits, fraction);
    bool const isNumber = error == std::errc() && end == text.data() + kFractionDigits && isDigit(text[0]);
    return isNumber ? std::optional(fraction) : std::nullopt;
}

std::int64_t getFractionOf(std::int64_t microseconds) {
    return (microseconds % kSecond + kSecond) % kSecond; // of times before 1970 too
}

tm toLocal(std::int64_t microseconds) {
    time_t const seconds = (microseconds - getFractionOf(microseconds)) / kSecond;
    tm local = {};
    localtime_r(&seconds, &local);
    return local;
}

std::int64_t fromLocal(tm local) {
    local.tm_isdst = -1;
    return mktime(&local) * kSecond;
}

std::int64_t getMidnight(std::int64_t now, int daysBefore) {
    tm const today = toLocal(now);
    tm midnight = {};
    midnight.tm_year = today.tm_year;
    midnight.tm_mon = today.tm_mon;
    midnight.tm_mday = today.tm_mday - daysBefore;
    return fromLocal(midnight);
}

// Whether the text has this form from its first character to its last.
bool hasForm(std::string const& text, char const* form, tm& parsed) {
    char const* const end = strptime(text.c_str(), form, &parsed);
    return !text.empty() && isDigit(text[0]) && end == text.c_str() + text.size();
}

// strptime() takes the 31st of any month.
bool isInCalendar(tm const& day) {
    tm same = day;
    same.tm_hour = 12;
    same.tm_isdst = 0;
    timegm(&same);
    return same.tm_mday == day.tm_mday;
}

std::optional<std::int64_t> parseDate(std::string const& text) {
    constexpr char const* kForms[] = {"%Y-%m-%d", "%Y-%m-%d %H:%M", "%Y-%m-%d %H:%M:%S", "%Y-%m-%dT%H:%M",
                                      "%Y-%m-%dT%H:%M:%S"};
    for (char const* const form : kForms) {
        tm local = {};
        if (hasForm(text, form, local) && isInCalendar(local))
            return fromLocal(local);
    }
    return std::nullopt;
}

std::optional<std::int64_t> parseTimeOfDay(std::string const& text, std::int64_t now) {
    for (char const* const form : {"%H:%M", "%H:%M:%S"}) {
        tm local = toLocal(now);
        local.tm_sec = 0;
        if (hasForm(text, form, local))
            return fromLocal(local);
    }
    return std::nullopt;
}

std::optional<std::int64_t> getUnit(std::string_view name) {
    if (name == "s")
        return kSecond;
    if (name == "min")
        return kMinute;
    if (name == "h")
        return kHour;
    return name == "d" ? std::optional(kDay) : std::nullopt;
}

std::optional<std::int64_t> parseDuration(std::string const& text) {
    constexpr std::int64_t kMaximum = 1000000; // some three thousand years of days
    std::int64_t count = 0;
    char const* const begin = text.data();
    char const* const end = begin + text.size();
    auto const [rest, error] = std::from_chars(begin, end, count);
    auto const unit = getUnit(std::string_view(rest, static_cast<std::size_t>(end - rest)));
    if (error != std::errc() || count < 0 || count > kMaximum || !unit)
        return std::nullopt;
    return count * *unit;
}

std::optional<std::int64_t> parseAny(std::string const& text, std::int64_t now) {
    if (text == "today")
        return getMidnight(now, 0);
    if (text == "yesterday")
        return getMidnight(now, 1);
    if (auto const duration = parseDuration(text))
        return now - *duration;
    if (auto const time = parseTimeOfDay(text, now))
        return time;
    if (auto const time = parseDate(text))
        return time;
    return parseUTCTime(text);
}

} // namespace

std::optional<std::int64_t> parseUTCTime(std::string const& text) {
    tm utc = {};
    char const* const point = strptime(text.c_str(), "%Y-%m-%dT%H:%M:%S", &utc);
    if (point == nullptr || *point != '.')
        return std::nullopt;
    auto const fraction = parseFraction(point + 1);
    return fraction ? std::optional(timegm(&utc) * kSecond + *fraction) : std::nullopt;
}

std::string composeLocalTime(std::int64_t microseconds) {
    tm const local = toLocal(microseconds);
    char text[40] = "";
    std::size_t const length = strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
    return fmt::format("{}.{:03}", std::string_view(text, length), getFractionOf(microseconds) / 1000);
}

std::int64_t parseSince(std::string const& text, std::int64_t now) {
    if (auto const time = parseAny(text, now))
        return *time;
    throw fdn::CError("'" + fromUTF8(text) +
                      "' is no time. Understood are \"2026-11-22 10:00\", with seconds or without a time of "
                      "day; \"10:00\" for today; \"today\" and \"yesterday\"; and \"30s\", \"15min\", \"2h\" "
                      "and \"3d\" for so long ago.");
}

std::int64_t getNow() {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec * kSecond + now.tv_nsec / 1000;
}

} // namespace dmnctl
