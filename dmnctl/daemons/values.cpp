#include <dmnctl/daemons/values.h>

#include <fmt/core.h>

#include <array>

#include <time.h>

namespace dmnctl {

std::string describeTime(fdn::CTime const& time) {
    auto const seconds = static_cast<time_t>(time.getMicroseconds() / 1000000);
    tm local = {};
    std::array<char, 32> text = {};
    localtime_r(&seconds, &local);
    strftime(text.data(), text.size(), "%Y-%m-%d %H:%M", &local);
    return text.data();
}

std::string describeMemory(std::uint64_t bytes) {
    constexpr double kMiB = 1024 * 1024;
    return fmt::format("{:.1f} MiB", static_cast<double>(bytes) / kMiB);
}

} // namespace dmnctl
