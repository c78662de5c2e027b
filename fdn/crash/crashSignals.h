#pragma once

namespace fdn {

/// Has each signal of a crash leave a last entry before it ends the process, unless it is treated otherwise
/// already. A stack overflow is reported on the calling thread only.
void reportCrashSignals();

} // namespace fdn
