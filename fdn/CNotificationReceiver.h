#pragma once

#include <fdn/Export.h>
#include <fdn/String.h>
#include <fdn/containers.h>

#include <optional>

#include <sys/types.h>

namespace fdn {

/// A message that a process has sent with notifySupervisor() or sd_notify(3).
struct Notification {
    pid_t sender = 0;                 ///< as the kernel tells it, so that nobody can pretend to be another
    TMap<String, String> assignments; ///< a name that comes twice has its last value
};

/// The supervisor's side of notifySupervisor(): a socket with an abstract name, which processes of any
/// account reach, whatever their root folder and mounts are. Anybody in the same network namespace may send
/// to it, and can read the name in /proc/net/unix, so look at the sender before you believe a message.
/// Whoever floods it takes the room of others' messages: no more than net.unix.max_dgram_qlen may wait, ten
/// on many machines.
///
/// Use an object from one thread at a time.
class FDN_EXPORT CNotificationReceiver {
public:
    /// Opens the socket. Throws CError when the system refuses.
    CNotificationReceiver();
    CNotificationReceiver(CNotificationReceiver const&) = delete;
    CNotificationReceiver& operator=(CNotificationReceiver const&) = delete;
    ~CNotificationReceiver();

    /// What the environment variable NOTIFY_SOCKET of the other process must be.
    String const& getAddress() const { return m_address; }

    /// A descriptor that is readable (POSIX poll) while messages wait. It belongs to this object.
    int getDescriptor() const { return m_socket; }

    /// Takes the next message, and returns nothing when none waits. Never blocks.
    ///
    /// What is no message of the protocol is dropped: an empty one, one of more than 4096 bytes or with the
    /// character NUL, one without any assignment, and one whose sender the kernel cannot name. Then nothing
    /// is returned either, even if more messages wait: each call takes one, so that nobody can keep the
    /// caller from its deadline. Descriptors that come with a message are closed.
    std::optional<Notification> receive();

private:
    int m_socket = -1;
    String m_address;
};

} // namespace fdn
