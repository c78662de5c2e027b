#pragma once

#include <algorithm>
#include <limits>

namespace fdn {

/// A day of the Gregorian calendar.
struct UTCDate {
    int year = 0;
    int month = 0;
    int day = 0;
};

/// Takes as many whole periods of this length as there are, but at most so many, off the days. Returns their
/// number.
constexpr int takePeriods(int& days, int length, int atMost = std::numeric_limits<int>::max()) {
    int const periods = std::min(days / length, atMost);
    days -= periods * length;
    return periods;
}

/// The date so many days after 1970-01-01, or before it when negative; not before 1600-03-01. Unlike
/// gmtime_r(), it reads no file and takes no lock: the child of a fork would wait for one that another thread
/// has had.
constexpr UTCDate toUTCDate(int daysSince1970) {
    // Counted from March, a year has its leap day at its end, and so have four years and four hundred. Of the
    // years and the centuries in those, the fourth may therefore be a day longer.
    int days = daysSince1970 + 135080;
    int year = 1600;
    year += 400 * takePeriods(days, 146097);
    year += 100 * takePeriods(days, 36524, 3);
    year += 4 * takePeriods(days, 1461);
    year += takePeriods(days, 365, 3);
    constexpr int kDaysOfMonths[] = {31, 30, 31, 30, 31, 31, 30, 31, 30, 31, 31, 29};
    int month = 0;
    while (days >= kDaysOfMonths[month])
        days -= kDaysOfMonths[month++];
    return month < 10 ? UTCDate{year, month + 3, days + 1} : UTCDate{year + 1, month - 9, days + 1};
}

} // namespace fdn
