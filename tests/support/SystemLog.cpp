#include "support/SystemLog.h"

#include "support/PrivateRoot.h"

#include <array>
#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/un.h>

namespace test {

namespace {

constexpr sockaddr_un kAddress = {AF_UNIX, "/dev/log"};

void check(bool succeeded, char const* what) {
    if (!succeeded)
        throw std::system_error(errno, std::generic_category(), what);
}

} // namespace

SystemLog::SystemLog(int type) : m_type(type) {
    if (!isInPrivateRoot())
        throw std::logic_error("The machine's own /dev must not be touched.");
    furnish();
    m_socket.reset(socket(AF_UNIX, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    check(m_socket.isOpen(), "socket");
    check(bind(m_socket.get(), reinterpret_cast<sockaddr const*>(&kAddress), sizeof kAddress) == 0, "bind");
    check(chmod(kAddress.sun_path, 0666) == 0, "chmod");
    check(type == SOCK_DGRAM || listen(m_socket.get(), 1) == 0, "listen");
}

SystemLog::~SystemLog() {
    umount2("/dev", MNT_DETACH);
}

// Takes the null device from the /dev that it hides: no node can be made in a user namespace.
void SystemLog::furnish() const {
    fdn::Descriptor const null(open("/dev/null", O_PATH | O_CLOEXEC));
    std::string const source = "/proc/self/fd/" + std::to_string(null.get());
    check(mount("dev", "/dev", "tmpfs", 0, "mode=755") == 0, "/dev");
    fdn::Descriptor const target(open("/dev/null", O_WRONLY | O_CREAT | O_CLOEXEC, 0666));
    check(mount(source.c_str(), "/dev/null", nullptr, MS_BIND, nullptr) == 0, "/dev/null");
    std::filesystem::create_symlink("/proc/self/fd", "/dev/fd");
    std::filesystem::create_symlink("/proc/self/fd/1", "/dev/stdout");
    std::filesystem::create_symlink("/proc/self/fd/2", "/dev/stderr");
}

std::vector<std::string> SystemLog::messages() const {
    std::vector<std::string> messages;
    for (std::string message = receive(); !message.empty(); message = receive())
        messages.push_back(message);
    return messages;
}

std::string SystemLog::receive() const {
    std::array<char, 8192> text = {};
    fdn::Descriptor const connection(m_type == SOCK_DGRAM ? -1 : accept(m_socket.get(), nullptr, nullptr));
    ssize_t const length =
        recv(m_type == SOCK_DGRAM ? m_socket.get() : connection.get(), text.data(), text.size(), 0);
    return length > 0 ? std::string(text.data(), static_cast<std::size_t>(length)) : std::string();
}

} // namespace test
