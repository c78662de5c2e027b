// Ends in one of the ways in which a program should not. Usage: crasher WAY

#include <fdn/CFdnInit.h>
#include <fdn/crash.h>
#include <fdn/log.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <iostream>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// An address that nothing can be read from, and of which no tool knows that.
char volatile* forbiddenAddress() {
    return static_cast<char*>(mmap(nullptr, 1, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
}

void readForbidden() {
    static_cast<void>(*forbiddenAddress());
}

void readBehindEndOfFile() {
    int const file = open("/tmp", O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    static_cast<void>(*static_cast<char volatile*>(mmap(nullptr, 1, PROT_READ, MAP_SHARED, file, 0)));
}

std::atomic<bool> goesDeeper{true};

int overflowStack(int depth) {
    char volatile room[10000];
    room[0] = static_cast<char>(depth);
    return goesDeeper ? overflowStack(depth + 1) + room[0] : 0;
}

void crashInManyThreads() {
    std::atomic<bool> isTime{false};
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&] {
            while (!isTime) {
            }
            readForbidden();
        });
    isTime = true;
    for (std::thread& thread : threads)
        thread.join();
}

void throwError() {
    throw std::runtime_error("no & exit");
}

void throwInNoexcept() noexcept {
    throwError();
}

void abandonThread() {
    std::thread const thread([] { pause(); });
}

void terminateOddly() {
    std::set_terminate([] {
        std::fputs("own handler\n", stderr);
        std::_Exit(7);
    });
    fdn::logCrashes();
    throwInNoexcept();
}

void crashInChild() {
    pid_t const child = fork();
    if (child == 0)
        readForbidden();
    int state = 0;
    waitpid(child, &state, 0);
    fdn::logInfo(WIFSIGNALED(state) && WTERMSIG(state) == SIGSEGV ? "child has crashed" : "child has not");
}

void exitInRun() {
    fdn::CExitReport const report("run()");
    std::exit(3);
}

void exitInThread() {
    fdn::CExitReport const report("run()");
    std::thread([] { std::exit(3); }).join();
}

void exitAfterRun() {
    { fdn::CExitReport const report("run()"); }
    std::exit(3);
}

void exitTwice() {
    { fdn::CExitReport const report("init()"); }
    exitInRun();
}

void exitInChild() {
    fdn::CExitReport const report("run()");
    pid_t const child = fork();
    if (child == 0)
        std::exit(3);
    waitpid(child, nullptr, 0);
    std::_Exit(0);
}

std::atomic<bool> exitsAtFork{false};

void exitAtFork() {
    if (exitsAtFork)
        std::exit(3);
}

// Called once the log, which registers later, keeps all others out of it. A signal handler may meet it so,
// too.
int const isRegistered = pthread_atfork(&exitAtFork, nullptr, nullptr);

void exitWhileLogIsInUse() {
    fdn::logInfo("in use");
    fdn::CExitReport const report("run()");
    exitsAtFork = true;
    fork();
}

void handleItself() {
    std::signal(SIGSEGV, [](int) { std::_Exit(5); });
    fdn::logCrashes();
    readForbidden();
}

void ignoreAbort() {
    std::signal(SIGABRT, SIG_IGN);
    fdn::logCrashes();
    std::abort();
}

void waitForSignal() {
    std::cout << "waits" << std::flush;
    while (true)
        pause();
}

// Has terminate() show nothing, because that would raise the same signals.
void abortSilently() {
    std::set_terminate(&std::abort);
    fdn::logCrashes();
}

// Whoever writes to a file of the largest size gets SIGXFSZ.
void crashWithoutRoom() {
    abortSilently();
    rlimit const limit = {0, 0};
    setrlimit(RLIMIT_FSIZE, &limit);
    throwInNoexcept();
}

void crashBesideBrokenPipe() {
    abortSilently();
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return;
    dup2(ends[1], STDERR_FILENO);
    close(ends[0]);
    throwInNoexcept();
}

std::map<std::string, std::function<void()>> const kWays = {
    {"abort", [] { std::abort(); }},
    {"abort-ignored", &ignoreAbort},
    {"broken-pipe", &crashBesideBrokenPipe},
    {"bus", &readBehindEndOfFile},
    {"child", &crashInChild},
    {"exit", &exitInRun},
    {"exit-after", &exitAfterRun},
    {"exit-in-child", &exitInChild},
    {"exit-in-thread", &exitInThread},
    {"exit-second", &exitTwice},
    {"exit-while-in-use", &exitWhileLogIsInUse},
    {"handled", &handleItself},
    {"no-room", &crashWithoutRoom},
    {"noexcept", &throwInNoexcept},
    {"overflow", [] { overflowStack(0); }},
    {"own-terminate", &terminateOddly},
    {"raiseFpe", [] { std::raise(SIGFPE); }},
    {"raiseIll", [] { std::raise(SIGILL); }},
    {"raiseSys", [] { std::raise(SIGSYS); }},
    {"segv", &readForbidden},
    {"segvInThread", [] { std::thread(&readForbidden).join(); }},
    {"segvInThreads", &crashInManyThreads},
    {"thread", &abandonThread},
    {"throw42", [] { throw 42; }},
    {"throwInThread", [] { std::thread(&throwError).join(); }},
    {"wait", &waitForSignal},
};

bool logsCrashesItself(std::string const& way) {
    return way == "handled" || way == "abort-ignored" || way == "own-terminate" || way == "no-room" ||
           way == "broken-pipe";
}

} // namespace

int main(int argc, char** argv) {
    std::string const way = argc > 1 ? argv[1] : "";
    fdn::CFdnInit const init(true);
    rlimit const noCore = {0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    if (argc > 2 && argv[2] == std::string("shown"))
        fdn::showLogOnStandardError();
    if (!logsCrashesItself(way))
        fdn::logCrashes();
    kWays.at(way)();
}
