#pragma once

namespace fdn {

/// Has an exception that nobody catches leave a last entry before it ends the process.
void reportUncaughtExceptions();

} // namespace fdn
