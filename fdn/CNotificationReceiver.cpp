#include <fdn/CNotificationReceiver.h>

namespace fdn {

CNotificationReceiver::CNotificationReceiver() = default;

CNotificationReceiver::~CNotificationReceiver() = default;

std::optional<Notification> CNotificationReceiver::receive() {
    return std::nullopt;
}

} // namespace fdn
