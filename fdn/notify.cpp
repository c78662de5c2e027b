#include <fdn/notify.h>

namespace fdn {

void notifySupervisor(String const&) noexcept {}

String composeStatusNotification(String const& text) {
    return "STATUS=" + text;
}

} // namespace fdn
