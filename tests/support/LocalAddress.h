#pragma once

#include <string>

#include <sys/socket.h>
#include <sys/un.h>

namespace test {

/// The address of a local socket (unix(7)): a path, or "@" and an abstract name, of at most 108 bytes.
class LocalAddress {
public:
    explicit LocalAddress(std::string const& text);

    sockaddr* get() { return reinterpret_cast<sockaddr*>(&m_address); }

    sockaddr const* get() const { return reinterpret_cast<sockaddr const*>(&m_address); }

    socklen_t size() const { return m_size; }

private:
    sockaddr_un m_address = {AF_UNIX, {}};
    socklen_t m_size;
};

} // namespace test
