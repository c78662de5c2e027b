#include <fdn/log/sendToSyslog.h>

#include <fdn/system/Descriptor.h>

#include <cerrno>

#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

namespace fdn {

namespace {

constexpr sockaddr_un kAddress = {AF_UNIX, _PATH_LOG};

// In the form of RFC 3164, but without the time, which the receiver adds. It would have to be local time, for
// which the C library takes a lock, and the child of a fork may find that lock taken forever.
std::string frame(int priority, std::string const& message) {
    return "<" + std::to_string(priority) + ">" + program_invocation_short_name + "[" +
           std::to_string(getpid()) + "]: " + message;
}

bool connectToSyslog(Descriptor const& socket) {
    return connect(socket.get(), reinterpret_cast<sockaddr const*>(&kAddress), sizeof kAddress) == 0;
}

// Each message gets a socket of its own, which works even after the reader was restarted, or the program has
// closed descriptors that it does not know.
bool sendOver(int type, char const* bytes, std::size_t size) {
    Descriptor const connection(socket(AF_UNIX, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!connection.isOpen() || !connectToSyslog(connection))
        return false;
    return send(connection.get(), bytes, size, MSG_NOSIGNAL) == static_cast<ssize_t>(size);
}

} // namespace

bool sendToSyslog(int priority, std::string const& message) {
    return sendFramedToSyslog(frame(priority, message));
}

bool sendFramedToSyslog(std::string_view message) {
    if (sendOver(SOCK_DGRAM, message.data(), message.size()))
        return true;
    // Some readers take only streams, in which a NUL ends a message.
    return errno == EPROTOTYPE && sendOver(SOCK_STREAM, message.data(), message.size() + 1);
}

} // namespace fdn
