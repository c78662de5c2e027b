#include <fdn/processInfo.h>

namespace fdn {

std::optional<ProcessInfo> getProcessInfo(pid_t) {
    return std::nullopt;
}

} // namespace fdn
