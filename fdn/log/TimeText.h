#pragma once

#include <fdn/log/UTCDate.h>

#include <cstddef>
#include <string_view>

#include <time.h>

namespace fdn {

/// A time to the microsecond, as RFC 3339 writes it but without the time zone: "2026-11-21T02:48:52.123456".
/// Takes no lock and allocates nothing, so a signal handler may make one.
///
/// printf() and strftime() are several times as slow; they would take half the time of an entry.
struct TimeText {
    static constexpr std::size_t kLength = 26;
    static constexpr std::size_t kLengthToMilliseconds = kLength - 3;

    explicit TimeText(timespec const& time) {
        constexpr long long kSecondsPerDay = 24LL * 60 * 60;
        UTCDate const date = toUTCDate(static_cast<int>(time.tv_sec / kSecondsPerDay));
        int const seconds = static_cast<int>(time.tv_sec % kSecondsPerDay);
        put(0, 4, date.year);
        put(5, 2, date.month);
        put(8, 2, date.day);
        put(11, 2, seconds / 3600);
        put(14, 2, seconds / 60 % 60);
        put(17, 2, seconds % 60);
        put(20, 6, static_cast<int>(time.tv_nsec / 1000));
    }

    operator std::string_view() const { return {text, kLength}; }

    char text[kLength + 1] = "0000-00-00T00:00:00.000000";

private:
    // Overwrites `width` digits with the number in decimal.
    void put(std::size_t start, std::size_t width, int number) {
        while (width-- > 0) {
            text[start + width] = static_cast<char>('0' + number % 10);
            number /= 10;
        }
    }
};

} // namespace fdn
