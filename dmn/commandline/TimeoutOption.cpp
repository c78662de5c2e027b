#include <dmn/commandline/TimeoutOption.h>

#include <fdn/CError.h>
#include <fdn/String.h>
#include <fdn/log.h>

#include <dmn/commandline/IgnoredAssertions.h>

#include <limits>

namespace dmn {

namespace {

constexpr char kOption[] = "timeout";

// The parser's numeric accessor is the one that the interface names. It answers for an option that was
// declared with a text, but calls that a programming error, on standard error, and leaves the number unset.
bool isGiven(wxCmdLineParser const& parser) {
    IgnoredAssertions const ignored;
    long number = 0;
    return parser.Found(kOption, &number);
}

bool isInteger(wxString const& text) {
    std::size_t const digits = text.find_first_of("+-") == 0 ? 1 : 0;
    return digits < text.length() && text.find_first_not_of("0123456789", digits) == wxString::npos;
}

} // namespace

void storeTimeout(wxCmdLineParser const& parser, std::int32_t& timeoutMs) {
    if (!isGiven(parser))
        return;
    wxString text;
    wxLongLong_t seconds = 0;
    parser.Found(kOption, &text);
    if (!text.ToLongLong(&seconds)) {
        fdn::logError("Bad commandline: timeout '" + fdn::String(text) +
                      (isInteger(text) ? "' is out of range." : "' is not a number."));
        return;
    }
    // Unsigned, because the product may exceed 32 bits, and only unsigned arithmetic is defined then.
    timeoutMs = static_cast<std::int32_t>(static_cast<std::uint32_t>(seconds) * 1000U);
}

void requireTimeout(wxCmdLineParser const& parser) {
    constexpr wxLongLong_t kMostSeconds = std::numeric_limits<std::int32_t>::max() / 1000;
    wxString text;
    wxLongLong_t seconds = 0;
    if (!isGiven(parser))
        return;
    parser.Found(kOption, &text);
    if (!isInteger(text) || !text.ToLongLong(&seconds) || seconds < 0 || seconds > kMostSeconds)
        throw fdn::CError("The option --timeout takes a number of seconds from 0 to " +
                          fdn::String::Format("%d", static_cast<int>(kMostSeconds)) + ", not '" +
                          fdn::String(text) + "'.");
}

} // namespace dmn
