#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string_view>

namespace fdn {

/// A text of limited length, which is cut where it gets too long, and which zero follows. Takes no lock and
/// allocates nothing, so a signal handler may make one.
template <std::size_t capacity>
class FixedText {
public:
    FixedText& operator<<(std::string_view text) {
        std::size_t const length = std::min(text.size(), capacity - m_length);
        std::copy_n(text.data(), length, m_text + m_length);
        m_length += length;
        return *this;
    }

    /// Appends the number in decimal.
    FixedText& operator<<(int number) {
        if (number < 0)
            *this << "-";
        return appendDigits(number < 0 ? 0U - static_cast<unsigned>(number) : static_cast<unsigned>(number),
                            10);
    }

    /// Appends the address as C writes it: "0x7f0".
    FixedText& addAddress(void const* address) {
        *this << "0x";
        return appendDigits(reinterpret_cast<std::uintptr_t>(address), 16);
    }

    operator std::string_view() const { return {m_text, m_length}; }

private:
    FixedText& appendDigits(std::uintptr_t number, unsigned base) {
        char digits[sizeof number * 8];
        char* start = std::end(digits);
        do {
            *--start = "0123456789abcdef"[number % base];
            number /= base;
        } while (number != 0);
        return *this << std::string_view(start, static_cast<std::size_t>(std::end(digits) - start));
    }

    char m_text[capacity + 1] = {};
    std::size_t m_length = 0;
};

} // namespace fdn
