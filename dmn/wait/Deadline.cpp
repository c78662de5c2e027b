#include <dmn/wait/Deadline.h>

#include <algorithm>

namespace dmn {

namespace {

using std::chrono::steady_clock;
using Milliseconds = std::chrono::duration<long long, std::milli>;

constexpr int kSecond = 1000;

fdn::String count(int number, fdn::String const& unit) {
    return fdn::String::Format("%d ", number) + unit + (number == 1 ? "" : "s");
}

} // namespace

Deadline::Deadline(int timeoutMs) : m_end(steady_clock::now() + Milliseconds(timeoutMs)) {}

int Deadline::getRestMs() const {
    // Rounded up, so that nobody who waits for the rest wakes up just before the end.
    auto const rest = std::chrono::ceil<Milliseconds>(m_end - steady_clock::now());
    return static_cast<int>(std::max(rest.count(), 0LL));
}

fdn::String describeDuration(int milliseconds) {
    int const length = std::max(milliseconds, 0);
    return length % kSecond == 0 ? count(length / kSecond, "second") : count(length, "millisecond");
}

} // namespace dmn
