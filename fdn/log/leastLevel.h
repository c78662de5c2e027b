#pragma once

#include <fdn/LogLevel.h>

#include <atomic>

namespace fdn {

/// The least serious level that is written.
inline std::atomic<LogLevel> leastLevel{LogLevel::Info};

} // namespace fdn
