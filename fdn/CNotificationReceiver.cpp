#include <fdn/CNotificationReceiver.h>

#include <fdn/sysError.h>
#include <fdn/system/LocalAddress.h>
#include <fdn/system/Pipe.h>
#include <fdn/system/notificationName.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <string>
#include <utility>

#include <sys/random.h>
#include <sys/socket.h>
#include <sys/uio.h>

namespace fdn {

namespace {

constexpr char kAction[] = "receiving notifications";
constexpr std::size_t kLongestMessage = 4096; // as other supervisors have it

/// What the kernel has delivered.
struct Delivery {
    pid_t sender = 0; ///< 0: not known, as that of a process in a namespace that this one cannot see
    std::string text; ///< empty for what cannot be a message
};

// Set before the socket has a name, so that every message has the sender's credentials.
Descriptor openSocket() {
    Descriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket.isOpen())
        throwLastSysError("socket", kAction);
    int const isWanted = 1;
    if (setsockopt(socket.get(), SOL_SOCKET, SO_PASSCRED, &isWanted, sizeof isWanted) == -1)
        throwLastSysError("setsockopt", kAction);
    return keepOffStandardStreams(std::move(socket), kAction);
}

// A machine that has just begun to boot may have no random numbers yet. Waiting for them could take minutes,
// so the system then chooses a name that is free: only the credentials tell whom to believe.
LocalAddress chooseAddress() {
    std::array<unsigned char, 16> random = {};
    if (getrandom(random.data(), random.size(), GRND_NONBLOCK) != static_cast<ssize_t>(random.size()))
        return LocalAddress();
    std::string name = kNotificationName;
    for (unsigned char const byte : random)
        for (int const digit : {byte >> 4, byte & 15})
            name += "0123456789abcdef"[digit];
    return parseLocalAddress(name).value_or(LocalAddress());
}

String bindToNewName(Descriptor const& socket) {
    LocalAddress const chosen = chooseAddress();
    if (bind(socket.get(), chosen.get(), chosen.size) == -1)
        throwLastSysError("bind", kAction);
    sockaddr_un bound = {};
    socklen_t size = sizeof bound;
    if (getsockname(socket.get(), reinterpret_cast<sockaddr*>(&bound), &size) == -1)
        throwLastSysError("getsockname", kAction);
    std::size_t const nameSize = size - offsetof(sockaddr_un, sun_path) - 1; // a NUL is before the name
    return "@" + String(std::string(bound.sun_path + 1, nameSize));
}

// There is room for credentials alone, which the kernel delivers first. So it closes the descriptors that
// come with the message, instead of opening them here.
class CredentialsBuffer {
public:
    void giveTo(msghdr& header) {
        header.msg_control = m_bytes.data();
        header.msg_controllen = m_bytes.size();
    }

    static pid_t getSender(msghdr& header) {
        cmsghdr const* const first = CMSG_FIRSTHDR(&header);
        if (first == nullptr || first->cmsg_level != SOL_SOCKET || first->cmsg_type != SCM_CREDENTIALS)
            return 0;
        ucred credentials = {};
        std::memcpy(&credentials, CMSG_DATA(first), sizeof credentials);
        return credentials.pid;
    }

private:
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(ucred))> m_bytes = {};
};

Delivery takeNext(int socket) {
    std::array<char, kLongestMessage> bytes;
    iovec room = {bytes.data(), bytes.size()};
    msghdr header = {};
    header.msg_iov = &room;
    header.msg_iovlen = 1;
    CredentialsBuffer credentials;
    credentials.giveTo(header);
    ssize_t const size =
        uninterrupted([&] { return recvmsg(socket, &header, MSG_DONTWAIT | MSG_CMSG_CLOEXEC); });
    if (size < 1 || (header.msg_flags & MSG_TRUNC) != 0)
        return Delivery();
    return {CredentialsBuffer::getSender(header), std::string(bytes.data(), static_cast<std::size_t>(size))};
}

void takeAssignment(String const& line, TMap<String, String>& assignments) {
    std::size_t const sign = line.find(L'=');
    if (sign != String::npos && sign > 0)
        assignments[line.substr(0, sign)] = line.substr(sign + 1);
}

TMap<String, String> parseMessage(String const& message) {
    TMap<String, String> assignments;
    std::size_t start = 0;
    while (start < message.length()) {
        std::size_t const end = std::min(message.find(L'\n', start), message.length());
        takeAssignment(message.substr(start, end - start), assignments);
        start = end + 1;
    }
    return assignments;
}

} // namespace

CNotificationReceiver::CNotificationReceiver() {
    Descriptor socket = openSocket();
    m_address = bindToNewName(socket);
    m_socket = socket.release();
}

CNotificationReceiver::~CNotificationReceiver() {
    Descriptor const closed(m_socket);
}

std::optional<Notification> CNotificationReceiver::receive() {
    Delivery const delivery = takeNext(m_socket);
    if (delivery.sender < 1 || delivery.text.find('\0') != std::string::npos)
        return std::nullopt;
    Notification notification = {delivery.sender, parseMessage(String::fromBytes(delivery.text))};
    return notification.assignments.empty() ? std::nullopt : std::optional(std::move(notification));
}

} // namespace fdn
