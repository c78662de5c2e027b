#include "support/Supervisor.h"

#include "support/LocalAddress.h"

#include <gtest/gtest.h>

#include <array>
#include <random>

#include <stdlib.h>
#include <sys/socket.h>

namespace test {

namespace {

constexpr char kNothing[] = "(none)";

} // namespace

// Not the process's number: abstract names are shared with tests in other PID namespaces.
std::string newAbstractName() {
    std::random_device random;
    return "@fdn-test-" + std::to_string(random()) + "-" + std::to_string(random());
}

SupervisorAddress::SupervisorAddress(std::string const& address) {
    setenv("NOTIFY_SOCKET", address.c_str(), 1);
}

SupervisorAddress::~SupervisorAddress() {
    unsetenv("NOTIFY_SOCKET");
}

Supervisor::Supervisor(std::string const& address)
    : m_socket(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)), m_address(address) {
    LocalAddress const local(address);
    EXPECT_EQ(bind(m_socket.get(), local.get(), local.size()), 0) << address;
}

std::string Supervisor::take() const {
    std::array<char, 10000> bytes;
    ssize_t const size = recv(m_socket.get(), bytes.data(), bytes.size(), MSG_DONTWAIT);
    return size == -1 ? kNothing : std::string(bytes.data(), static_cast<std::size_t>(size));
}

std::vector<std::string> Supervisor::messages() const {
    std::vector<std::string> messages;
    for (std::string message = take(); message != kNothing; message = take())
        messages.push_back(message);
    return messages;
}

} // namespace test
