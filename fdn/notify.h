#pragma once

#include <fdn/Export.h>
#include <fdn/String.h>

namespace fdn {

/// Tells whoever supervises this process how far it is, by the protocol of sd_notify(3): sends the message as
/// one datagram to the socket that the environment variable NOTIFY_SOCKET names, an absolute path or "@" and
/// an abstract name (unix(7)). The message is assignments of the form "NAME=value", with line feeds between
/// them: "READY=1", "STATUS=Loading the index", "STOPPING=1".
///
/// Does nothing when the variable is not set, unless keepSupervisor() has removed it, and in a set-user-ID
/// program, whose user sets it. Waits for nothing and throws nothing: a message that cannot be sent at once
/// is lost. Any thread may call it.
///
/// Returns false only when it was lost because the supervisor has yet to read what it was sent before, which
/// may be no more than ten messages: then another try may succeed a moment later.
FDN_EXPORT bool notifySupervisor(String const& message) noexcept;

/// Keeps the supervisor to this process if it is a CNotificationReceiver, which waits only for this process's
/// start: notifySupervisor() goes on to send to it, but NOTIFY_SOCKET is removed from the environment, so
/// that programs which are started from now on do not take it for theirs. Any other supervisor may want to
/// hear of those as well, and stays there.
///
/// Call it before there are threads that use the environment (POSIX unsetenv).
FDN_EXPORT void keepSupervisor() noexcept;

/// The assignment "STATUS=" with the text on one line: its line feeds become blanks. Of a longer text, the
/// first 1000 characters are taken, because supervisors drop long messages.
FDN_EXPORT String composeStatusNotification(String const& text);

} // namespace fdn
