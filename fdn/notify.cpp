#include <fdn/notify.h>

#include <fdn/system/Descriptor.h>
#include <fdn/system/LocalAddress.h>
#include <fdn/system/notificationName.h>

#include <cerrno>
#include <cstring>
#include <exception>
#include <optional>
#include <string>

#include <stdlib.h>
#include <sys/socket.h>

namespace fdn {

namespace {

// Supervisors drop messages of more than 4096 bytes, and a character has at most four in UTF-8.
constexpr std::size_t kLongestStatus = 1000;

constexpr char kVariable[] = "NOTIFY_SOCKET";

std::optional<LocalAddress>& getKeptSupervisor() {
    static std::optional<LocalAddress> supervisor;
    return supervisor;
}

std::optional<LocalAddress> findSupervisor() {
    // Null in a set-user-ID program.
    char const* const address = secure_getenv(kVariable);
    return address == nullptr ? getKeptSupervisor() : parseLocalAddress(address);
}

bool waitsForThisProcessAlone(char const* address) {
    return std::strncmp(address, kNotificationName, std::strlen(kNotificationName)) == 0;
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

void keepSupervisor() noexcept {
    char const* const address = secure_getenv(kVariable);
    if (address == nullptr || !waitsForThisProcessAlone(address))
        return;
    try {
        getKeptSupervisor() = parseLocalAddress(address);
        unsetenv(kVariable);
    } catch (std::exception const&) {
        // The program matters more than the message.
    }
}

String composeStatusNotification(String const& text) {
    String line = text.substr(0, kLongestStatus);
    line.Replace(L"\n", L" ");
    return "STATUS=" + line;
}

} // namespace fdn
