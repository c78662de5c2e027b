#pragma once

#include <algorithm>
#include <limits>

namespace fdn {

/// A day of the Gregorian calendar.
struct UTCDate {
    int year = 0;
    int month = 0; ///< from 1 to 12
    int day = 0;   ///< from 1
};

/// Subtracts whole periods of `length` days, as many as there are but at most `atMost`. Returns their number.
constexpr int takePeriods(int& days, int length, int atMost = std::numeric_limits<int>::max()) {
    int const periods = std::min(days / length, atMost);
    days -= periods * length;
    return periods;
}

/// The date that many days after 1970-01-01, or before it when negative, but not before 1600-03-01.
///
/// Unlike gmtime_r(), this takes no lock: in the child of a fork, another thread's lock is never released. It
/// reads no file either.
constexpr UTCDate toUTCDate(int daysSince1970) {
    // A year that begins in March has its leap day at its end, as do four such years and four hundred. The
    // last year of four, and the last century of four hundred years, may therefore be a day longer.
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
