#pragma once

#include <fdn/system/Descriptor.h>

#include <string>
#include <vector>

#include <sys/socket.h>

namespace test {

/// While the object lives, the test has a /dev of its own with the socket /dev/log, to which syslog(3)
/// writes, the null device and the standard streams. Only messages() reads from the socket, so it can fill
/// up. Throws std::logic_error outside a private root.
class SystemLog {
public:
    /// The type is SOCK_DGRAM or SOCK_STREAM.
    explicit SystemLog(int type = SOCK_DGRAM);
    SystemLog(SystemLog const&) = delete;
    SystemLog& operator=(SystemLog const&) = delete;
    ~SystemLog();

    /// Returns the messages that have arrived since the last call; with SOCK_STREAM, the whole content of
    /// each connection.
    std::vector<std::string> messages() const;

private:
    std::string receive() const;
    void furnish() const;

    int m_type;
    fdn::Descriptor m_socket;
};

} // namespace test
