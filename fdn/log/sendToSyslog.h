#pragma once

#include <string>
#include <string_view>

namespace fdn {

/// Sends a message to the system's log, as syslog(3) does, but never waits for the reader. The message is one
/// line without a line feed; the priority includes the facility. Returns false when the message was not
/// taken, because nobody reads or the reader is too slow. What the program has set with openlog(3) neither
/// matters nor changes.
bool sendToSyslog(int priority, std::string const& message);

/// Sends a message that begins with the priority, as RFC 3164 has it without a time, and that zero follows:
/// "<27>backupd[123]: text". A signal handler may call it.
bool sendFramedToSyslog(std::string_view message);

} // namespace fdn
