#include <dmn/wait/awaitAnswer.h>

#include <fdn/CThread.h>
#include <fdn/CTime.h>

#include <cstdint>

namespace dmn {

namespace {

constexpr unsigned kIntervalMs = 50;

std::int64_t getMicroseconds() {
    return fdn::CTime::now().getMicroseconds();
}

} // namespace

int awaitAnswer(int timeoutMs, std::function<int()> const& ask) {
    // In 64 bits: the microseconds of an hour are too many for 32.
    std::int64_t const deadline = getMicroseconds() + static_cast<std::int64_t>(timeoutMs) * 1000;
    for (;;) {
        if (int const answer = ask())
            return answer;
        if (getMicroseconds() >= deadline)
            return 0;
        fdn::CThread::sleep(kIntervalMs);
    }
}

} // namespace dmn
