#include <dmnctl/log/moment.h>

#include "support/errors.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <map>

#include <time.h>

namespace {

constexpr std::int64_t kSecond = 1000000;
constexpr std::int64_t kHour = 3600 * kSecond;
constexpr std::int64_t kNow = 1795341600 * kSecond; // 2026-11-22 10:00 UTC

class MomentTest : public testing::Test {
protected:
    MomentTest() {
        setenv("TZ", "XST-1", 1); // an hour ahead of UTC
        tzset();
    }

    static std::int64_t since(std::string const& text) { return dmnctl::parseSince(text, kNow); }
};

TEST_F(MomentTest, ReadsTheTimesOfLogs) {
    EXPECT_EQ(kNow + 123456, dmnctl::parseUTCTime("2026-11-22T10:00:00.123456Z"));
    EXPECT_EQ(-1, dmnctl::parseUTCTime("1969-12-31T23:59:59.999999Z"));
    for (char const* const text : {"", "2026-11-22", "2026-11-22T10:00:00Z", "2026-11-22T10:00:00.123456",
                                   "2026-11-22T10:00:00.12345Z", "2026-11-22T10:00:00.-23456Z",
                                   "2026-11-22T10:00:00.123456Z ", "2026-11-22 10:00:00.123456Z"})
        EXPECT_FALSE(dmnctl::parseUTCTime(text)) << text;
}

TEST_F(MomentTest, WritesLocalTime) {
    EXPECT_EQ("2026-11-22 11:00:00.123", dmnctl::composeLocalTime(kNow + 123999));
    EXPECT_EQ("1970-01-01 00:59:59.999", dmnctl::composeLocalTime(-1));
}

TEST_F(MomentTest, UnderstandsTimesOfADayAsLocal) {
    EXPECT_EQ(kNow - kHour, since("2026-11-22 10:00"));
    EXPECT_EQ(kNow - kHour + 30 * kSecond, since("2026-11-22 10:00:30"));
    EXPECT_EQ(kNow - kHour + 30 * kSecond, since("2026-11-22T10:00:30"));
    EXPECT_EQ(kNow - 11 * kHour, since("2026-11-22"));
    EXPECT_EQ(kNow - kHour, since("10:00"));
    EXPECT_EQ(kNow - 2 * kHour + 5 * kSecond, since("9:00:05"));
    EXPECT_EQ(kNow - 11 * kHour, since("today"));
    EXPECT_EQ(kNow - 35 * kHour, since("yesterday"));
    EXPECT_EQ(kNow + 5, since("2026-11-22T10:00:00.000005Z"));
}

TEST_F(MomentTest, UnderstandsDurations) {
    EXPECT_EQ(kNow - 30 * kSecond, since("30s"));
    EXPECT_EQ(kNow - 15 * 60 * kSecond, since("15min"));
    EXPECT_EQ(kNow - 2 * kHour, since("2h"));
    EXPECT_EQ(kNow - 72 * kHour, since("3d"));
}

TEST_F(MomentTest, BeginsYesterdayAtMidnightWhenTheClockIsChanged) {
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1); // 2026-10-25 has 25 hours
    tzset();
    std::int64_t const monday = 1793016000 * kSecond; // 2026-10-26 12:00 UTC

    EXPECT_EQ("2026-10-25 00:00:00.000", dmnctl::composeLocalTime(dmnctl::parseSince("yesterday", monday)));
    EXPECT_EQ("2026-10-26 00:00:00.000", dmnctl::composeLocalTime(dmnctl::parseSince("today", monday)));
}

TEST_F(MomentTest, ListsWhatItUnderstandsWhereItDoesNot) {
    for (char const* const text :
         {"x", "5", "5m", "-5s", " 5s", "5 s", "99999999999999999999s", "9999999d", "2026-02-30",
          "2026-13-01", "24:61", "10:00 ", "2026-11-22 10", "2026-11-22 10:00 x", "tomorrow"}) {
        std::string const message = test::messageOf([text] { since(text); });
        EXPECT_THAT(message, testing::StartsWith("'" + std::string(text) + "' is no time."));
        EXPECT_THAT(message, testing::HasSubstr("15min"));
    }
}

} // namespace
