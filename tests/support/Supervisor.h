#pragma once

#include <fdn/system/Descriptor.h>

#include <string>
#include <vector>

namespace test {

/// An address for a local socket that nobody else uses: "@" and an abstract name.
std::string newAbstractName();

/// While it lives, NOTIFY_SOCKET is set.
class SupervisorAddress {
public:
    explicit SupervisorAddress(std::string const& address);
    SupervisorAddress(SupervisorAddress const&) = delete;
    SupervisorAddress& operator=(SupervisorAddress const&) = delete;
    ~SupervisorAddress();
};

/// Listens to what this process, and the programs that it starts, tell their supervisor.
class Supervisor {
public:
    /// Listens at an address that it makes known: a path, or "@" and an abstract name.
    explicit Supervisor(std::string const& address = newAbstractName());

    /// The next message, or "(none)".
    std::string take() const;

    /// All messages that wait.
    std::vector<std::string> messages() const;

private:
    fdn::Descriptor m_socket;
    SupervisorAddress m_address;
};

} // namespace test
