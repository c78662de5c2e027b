// Runs a command as its supervisor (sd_notify(3)) and prints what the processes of the command say, a line
// for each assignment. Usage: supervise COMMAND [ARGUMENT...]

#include <fdn/CNotificationReceiver.h>
#include <fdn/CProcessHandle.h>

#include <cstdio>
#include <cstdlib>
#include <optional>

#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

void print(fdn::Notification const& notification) {
    for (auto const& [name, value] : notification.assignments)
        std::printf("%s=%s\n", name.toUTF8().c_str(), value.toUTF8().c_str());
    std::fflush(stdout);
}

void printWhatWaits(fdn::CNotificationReceiver& receiver) {
    while (std::optional<fdn::Notification> const notification = receiver.receive())
        print(*notification);
}

// A process sends before it ends, so nothing is missed.
void printUntilEndOf(fdn::CProcessHandle const& process, fdn::CNotificationReceiver& receiver) {
    pollfd events[] = {{receiver.getDescriptor(), POLLIN, 0}, {process.getDescriptor(), POLLIN, 0}};
    while (events[1].revents == 0) {
        poll(events, 2, -1);
        printWhatWaits(receiver);
    }
    printWhatWaits(receiver);
}

} // namespace

int main(int argc, char** argv) {
    fdn::CNotificationReceiver receiver;
    setenv("NOTIFY_SOCKET", receiver.getAddress().toUTF8().c_str(), 1);
    pid_t process = 0;
    if (argc < 2 || posix_spawnp(&process, argv[1], nullptr, nullptr, argv + 1, environ) != 0)
        return 2;
    printUntilEndOf(fdn::CProcessHandle(process), receiver);
    int state = 0;
    waitpid(process, &state, 0);
    return WIFEXITED(state) ? WEXITSTATUS(state) : 1;
}
