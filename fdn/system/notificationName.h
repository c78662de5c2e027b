#pragma once

namespace fdn {

/// What the address of every CNotificationReceiver begins with, where the system has random numbers.
inline constexpr char kNotificationName[] = "@fdn-notify-";

} // namespace fdn
