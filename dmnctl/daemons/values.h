#pragma once

#include <fdn/CTime.h>

#include <cstdint>
#include <string>

namespace dmnctl {

// How people read values.

/// Local time, to the minute: "2026-11-22 08:15".
std::string describeTime(fdn::CTime const& time);

/// "3.1 MiB".
std::string describeMemory(std::uint64_t bytes);

} // namespace dmnctl
