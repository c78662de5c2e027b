#pragma once

namespace dmnctl {

// The exit statuses that all commands have in common.

inline constexpr int kDone = 0;
inline constexpr int kFailed = 2; ///< for at least one daemon; also of a bad command line

} // namespace dmnctl
