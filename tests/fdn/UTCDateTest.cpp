#include <fdn/log/UTCDate.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>
#include <limits>
#include <tuple>

namespace {

constexpr std::time_t kSecondsPerDay = 24 * 60 * 60;

// From 1600-03-01 to 9999-12-31, as far as the system's times reach: those of 32 bits end in 2038.
using Times = std::numeric_limits<std::time_t>;
constexpr int kFirstDay = static_cast<int>(std::max<std::time_t>(-135080, Times::min() / kSecondsPerDay));
constexpr int kLastDay = static_cast<int>(std::min<std::time_t>(2932896, Times::max() / kSecondsPerDay));

using Numbers = std::tuple<int, int, int>;

Numbers numbersOf(int day) {
    fdn::UTCDate const date = fdn::toUTCDate(day);
    return {date.year, date.month, date.day};
}

Numbers systemsNumbersOf(int day) {
    std::time_t const time = day * kSecondsPerDay;
    std::tm date = {};
    gmtime_r(&time, &date);
    return {date.tm_year + 1900, date.tm_mon + 1, date.tm_mday};
}

TEST(UTCDate, OfDayZeroIsTheBeginningOf1970) {
    EXPECT_EQ(numbersOf(0), Numbers(1970, 1, 1));
    EXPECT_EQ(numbersOf(-1), Numbers(1969, 12, 31));
}

TEST(UTCDate, HasLeapDays) {
    EXPECT_EQ(numbersOf(11016), Numbers(2000, 2, 29));
    EXPECT_EQ(numbersOf(19782), Numbers(2024, 2, 29));
    EXPECT_EQ(numbersOf(47540), Numbers(2100, 2, 28));
    EXPECT_EQ(numbersOf(47541), Numbers(2100, 3, 1));
}

TEST(UTCDate, IsTheSystemsOfEachDayInEightThousandYears) {
    for (int day = kFirstDay; day <= kLastDay; ++day)
        ASSERT_EQ(numbersOf(day), systemsNumbersOf(day)) << day;
}

} // namespace
