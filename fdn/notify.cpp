#include <fdn/notify.h>

#include <fdn/system/Descriptor.h>
#include <fdn/system/LocalAddress.h>

#include <cerrno>
#include <exception>
#include <optional>
#include <string>

#include <stdlib.h>
#include <sys/socket.h>

namespace fdn {

namespace {

// Supervisors drop messages of more than 4096 bytes, and a character has at most four in UTF-8.
constexpr std::size_t kLongestStatus = 1000;

std::optional<LocalAddress> findSupervisor() {
    // Null in a set-user-ID program.
    char const* const address = secure_getenv("NOTIFY_SOCKET");
    return address == nullptr ? std::nullopt : parseLocalAddress(address);
}

// Returns false when there is no room for the message yet.
bool sendNow(std::string const& message, LocalAddress const& receiver) {
    Descriptor const sender(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    return !sender.isOpen() ||
           sendto(sender.get(), message.data(), message.size(), MSG_NOSIGNAL, receiver.get(),
                  receiver.size) != -1 ||
           errno != EAGAIN;
}

} // namespace

bool notifySupervisor(String const& message) noexcept {
    int const savedError = errno;
    bool isDone = true;
    try {
        if (std::optional<LocalAddress> const supervisor = findSupervisor())
            isDone = sendNow(message.toUTF8(), *supervisor);
    } catch (std::exception const&) {
        // The program matters more than the message.
    }
    errno = savedError;
    return isDone;
}

String composeStatusNotification(String const& text) {
    String line = text.substr(0, kLongestStatus);
    line.Replace(L"\n", L" ");
    return "STATUS=" + line;
}

} // namespace fdn
