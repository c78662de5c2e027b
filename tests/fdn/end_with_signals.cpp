// Ends in one of the ways that matter to the signal receiver, with status 0 if all goes well. The only
// argument says how:
//
//   signalled-at-exit   gets SIGTERM after the receiver is gone, when it must be ignored
//   exit-in-handler     has a handler that calls exit()
//   exit-in-fork        has a forked process call exit(), and still receives signals afterwards
//   used-at-exit        uses the receiver and the account manager after their destruction
//   without-descriptors closes all descriptors and opens files of its own, which no signal may change

#include <fdn/CError.h>
#include <fdn/CFdnInit.h>
#include <fdn/CSystemAccountManager.h>
#include <fdn/CSystemSignalReceiver.h>
#include <fdn/P.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using fdn::CSystemSignalReceiver;
using fdn::SysSignal;

constexpr int kFailure = 1;
constexpr int kUsage = 2;

class CHandler : public fdn::CBase, public virtual fdn::ISystemSignalHandler {
public:
    explicit CHandler(std::function<void()> action) : m_action(std::move(action)) {}

    void handleSystemSignal(SysSignal) override { m_action(); }

private:
    std::function<void()> m_action;
};

void handleTermination(std::function<void()> action) {
    fdn::P<CHandler> const handler = fdn::newObj<CHandler>(std::move(action));
    CSystemSignalReceiver::get().setHandler(SysSignal::Terminate, handler.get());
}

class SignalledInTheEnd {
public:
    ~SignalledInTheEnd() {
        struct sigaction action = {};
        sigaction(SIGTERM, nullptr, &action);
        if (action.sa_handler != SIG_IGN)
            _exit(kFailure);
        kill(getpid(), SIGTERM);
    }
};

int beSignalledAtExit() {
    // Made before the receiver, so it is destroyed after it.
    static SignalledInTheEnd const last;
    handleTermination([] {});
    return 0;
}

int exitInHandler() {
    handleTermination([] { std::exit(0); });
    kill(getpid(), SIGTERM);
    while (true)
        pause();
}

int exitInFork() {
    static std::atomic<bool> isReceived{false};
    handleTermination([] { isReceived = true; });
    pid_t const child = fork();
    if (child == 0)
        std::exit(0);
    int state = 0;
    if (waitpid(child, &state, 0) != child || state != 0)
        return kFailure;
    kill(getpid(), SIGTERM);
    while (!isReceived)
        usleep(1000);
    return 0;
}

class UsesGlobalsInTheEnd {
public:
    ~UsesGlobalsInTheEnd() {
        if (fdn::CSystemAccountManager::get().isProcessUserAdmin() != (geteuid() == 0))
            _exit(kFailure);
        CSystemSignalReceiver::get().setHandler(SysSignal::Terminate, nullptr);
        try {
            handleTermination([] {});
            _exit(kFailure);
        } catch (fdn::CError const&) {
            // The handler is refused, because nobody would call it any more.
        }
    }
};

int useGlobalsAtExit() {
    // Made before the globals, so it is destroyed after them.
    static UsesGlobalsInTheEnd const last;
    handleTermination([] {});
    fdn::CSystemAccountManager::get();
    return 0;
}

bool isEmptyWithAllItsNumbers(std::vector<int> const& files) {
    return std::all_of(files.begin(), files.end(), [](int file) {
        struct stat info = {};
        return fstat(file, &info) == 0 && info.st_size == 0;
    });
}

int receiveWithoutDescriptors() {
    static std::atomic<bool> isReceived{false};
    handleTermination([] { isReceived = true; });
    for (int descriptor = 0; descriptor < 1024; ++descriptor)
        close(descriptor);
    std::vector<int> files;
    for (int i = 0; i < 20; ++i)
        files.push_back(memfd_create("own file", MFD_CLOEXEC));
    kill(getpid(), SIGTERM);
    while (!isReceived)
        usleep(1000);
    return isEmptyWithAllItsNumbers(files) ? 0 : kFailure;
}

} // namespace

int main(int argc, char** argv) {
    std::map<std::string, int (*)()> const ways = {{"signalled-at-exit", &beSignalledAtExit},
                                                   {"exit-in-handler", &exitInHandler},
                                                   {"exit-in-fork", &exitInFork},
                                                   {"used-at-exit", &useGlobalsAtExit},
                                                   {"without-descriptors", &receiveWithoutDescriptors}};
    alarm(20); // ends a process that hangs
    fdn::CFdnInit const init(true);
    auto const way = ways.find(argc == 2 ? argv[1] : "");
    return way == ways.end() ? kUsage : way->second();
}
