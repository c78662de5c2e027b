#pragma once

#include <string>

namespace fdn {

/// Sends a message to the system's log, as syslog(3) does, but never waits for whoever reads it. The message
/// is one line without a line feed; the priority holds the facility, too. Returns false when it was not
/// taken: nobody reads, or too slowly. What the program has set with openlog(3) stays untouched and has no
/// effect.
bool sendToSyslog(int priority, std::string const& message);

} // namespace fdn
