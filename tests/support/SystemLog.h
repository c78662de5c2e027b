#pragma once

#include <fdn/system/Descriptor.h>

#include <string>
#include <vector>

#include <sys/socket.h>

namespace test {

/// A /dev of the test's own while the object lives, with the socket /dev/log, to which syslog(3) writes, the
/// null device and the standard streams. For private roots only. Nobody reads from the socket but messages().
class SystemLog {
public:
    /// The type is SOCK_DGRAM or SOCK_STREAM.
    explicit SystemLog(int type = SOCK_DGRAM);
    SystemLog(SystemLog const&) = delete;
    SystemLog& operator=(SystemLog const&) = delete;
    ~SystemLog();

    /// The messages that have come since the last call; of a stream, the connections' whole contents.
    std::vector<std::string> messages() const;

private:
    std::string receive() const;
    void furnish() const;

    int m_type;
    fdn::Descriptor m_socket;
};

} // namespace test
