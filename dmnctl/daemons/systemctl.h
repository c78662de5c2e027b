#pragma once

#include <fdn/String.h>

namespace dmnctl {

/// Has systemd start or stop the daemon's unit, and waits for that, for so many milliseconds at most. What
/// systemctl says goes to standard error. Throws CError when it fails or is late; systemd goes on then.
void startBySystemd(fdn::String const& id, int timeoutMs);
void stopBySystemd(fdn::String const& id, int timeoutMs);

} // namespace dmnctl
