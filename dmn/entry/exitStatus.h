#pragma once

namespace dmn {

// The exit statuses of every front end's commands.

constexpr int kStatusDone = 0;
constexpr int kStatusRefused = -1; ///< a command line that the application refuses
constexpr int kStatusFailed = 2;

} // namespace dmn
