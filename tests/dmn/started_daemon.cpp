// A daemon by hand, which comes up in the way that its last argument names, or fails to. Its arguments are
// those that a start passes: --id=ID --controlFolder=FOLDER daemon WAY.

#include <fdn/CPIDFile.h>
#include <fdn/notify.h>

#include <cstdlib>
#include <cstring>
#include <exception>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr unsigned kLateUs = 200'000;

std::unique_ptr<fdn::CPIDFile> pidFile;
fdn::Path pidFilePath;

void say(std::string const& message) {
    fdn::notifySupervisor(fdn::String::fromBytes(message));
}

void claim() {
    say("STATUS=Claiming the PID file");
    pidFile = std::make_unique<fdn::CPIDFile>(pidFilePath);
}

void becomeReady() {
    claim();
    say("STATUS=Initializing");
    say("STATUS=Initializing");
    say("STATUS=Initializing: 1 steps done");
    say("READY=1\nSTATUS=Running");
}

[[noreturn]] void waitForSignals() {
    for (;;)
        pause();
}

[[noreturn]] void crash(int signal) {
    rlimit const noCore = {0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    ::signal(signal, SIG_DFL); // sanitizers have handlers of their own
    raise(signal);
    abort();
}

// Lets a child come up in the way and ends well.
void leaveToChild(std::function<void()> const& way) {
    if (fork() != 0)
        _exit(0);
    way();
}

void serve() {
    becomeReady();
    waitForSignals();
}

void hang() {
    claim();
    say("STATUS=Initializing");
    waitForSignals();
}

void comeUpLate() {
    usleep(kLateUs);
    serve();
}

void fail() {
    claim();
    say("STATUS=The disk is on fire.");
    exit(2);
}

void failWithoutAClaim() {
    say("STATUS=The disk is on fire.");
    exit(5);
}

void lose(fdn::Path const& file, pid_t holder) {
    fdn::notifySupervisor("STATUS=The PID file '" + file.getText() + "' is held by process " +
                          fdn::String::Format("%d.", holder));
    exit(2);
}

constexpr pid_t kEndedProcess = 4711; // there is none with this number
constexpr pid_t kLivingProcess = 1;   // which always lives

std::map<std::string, std::function<void()>> const ways = {
    {"serve", serve},
    {"hang", hang},
    {"late", comeUpLate},
    {"fail", fail},
    {"exit-0", [] { exit(0); }},
    {"exit-3", [] { exit(3); }},
    {"crash", [] { crash(SIGSEGV); }},
    {"abort", [] { crash(SIGABRT); }},
    {"crash-in-a-step",
     [] {
         say("STATUS=Reading the map");
         crash(SIGSEGV);
     }},
    {"exit-0-in-a-step",
     [] {
         say("STATUS=Reading the map");
         exit(0);
     }},
    {"exit-3-in-init",
     [] {
         say("STATUS=Initializing: 2 steps done");
         exit(3);
     }},
    {"be-busy",
     [] {
         becomeReady();
         for (;;)
             say("WATCHDOG=1");
     }},
    {"lie",
     [] {
         say("READY=1");
         waitForSignals();
     }},
    {"fail-in-run",
     [] {
         becomeReady();
         pidFile.reset();
         say("STATUS=Thrown in run.");
         exit(2);
     }},
    {"crash-in-run",
     [] {
         becomeReady();
         crash(SIGSEGV);
     }},
    {"return-from-run",
     [] {
         becomeReady();
         _exit(0);
     }},
    {"control-characters",
     [] {
         claim();
         say("STATUS=\x1b[31mred\a\u0085alert" + std::string(2000, '!'));
         exit(1);
     }},
    {"noise-then-fail",
     [] {
         say("no message");
         say(std::string(5000, 'x'));
         fail();
     }},
    {"lose", [] { lose(pidFilePath, kEndedProcess); }},
    {"lose-another-file", [] { lose(fdn::Path("/run/device.pid"), kEndedProcess); }},
    {"lose-to-the-living", [] { lose(pidFilePath, kLivingProcess); }},
    {"fork", [] { leaveToChild(serve); }},
    {"fork-late", [] { leaveToChild(comeUpLate); }},
    {"fork-twice", [] { leaveToChild([] { leaveToChild(comeUpLate); }); }},
    {"fork-and-vanish", [] { leaveToChild([] { _exit(0); }); }},
    {"fork-and-fail", [] { leaveToChild(fail); }},
    {"fork-and-fail-without-a-claim", [] { leaveToChild(failWithoutAClaim); }},
    {"fork-and-fail-first",
     [] {
         pid_t const child = fork();
         if (child == 0)
             failWithoutAClaim();
         siginfo_t report = {};
         waitid(P_PID, static_cast<id_t>(child), &report, WEXITED | WNOWAIT);
         _exit(0);
     }},
};

std::string valueOf(char const* argument) {
    return std::strchr(argument, '=') + 1;
}

} // namespace

int main(int, char** argv) {
    pidFilePath = fdn::Path(fdn::String::fromBytes(valueOf(argv[2]) + "/" + valueOf(argv[1]) + ".pid"));
    try {
        ways.at(argv[4])();
    } catch (std::exception const& error) {
        say(std::string("STATUS=") + error.what());
        return 2;
    }
}
