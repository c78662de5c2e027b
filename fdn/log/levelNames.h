#pragma once

#include <fdn/LogLevel.h>

#include <cstddef>

namespace fdn {

/// The names of the levels in rising order, as entries and options have them.
constexpr char const* kLevelNames[] = {"debug", "info", "warning", "error"};

constexpr char const* getLevelName(LogLevel level) {
    return kLevelNames[static_cast<std::size_t>(level)];
}

} // namespace fdn
