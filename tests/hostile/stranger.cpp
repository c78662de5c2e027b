// A process that has nothing to do with any daemon. It prints its number and that of its second thread, then
// each signal that it gets. SIGRTMAX, which is delivered after all others that are pending, ends it.
//
// Usage: stranger [COMMAND...]
//
// With a command, it runs that as well, and ends with it and with its status.

#include <csignal>
#include <cstdio>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

namespace {

void blockAllSignals() {
    sigset_t all;
    sigfillset(&all);
    sigprocmask(SIG_SETMASK, &all, nullptr);
}

void introduceItself() {
    std::printf("%d %d\n", getpid(), gettid());
    std::fflush(stdout);
}

[[noreturn]] void becomeCommand(char** command) {
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    execv(command[0], command);
    _exit(127);
}

void tellSignals(int last) {
    sigset_t all;
    sigfillset(&all);
    for (int signal = sigwaitinfo(&all, nullptr); signal != last; signal = sigwaitinfo(&all, nullptr)) {
        if (signal > 0 && signal != SIGCHLD)
            std::printf("signal %d\n", signal);
        std::fflush(stdout);
    }
}

int runCommand(char** command) {
    pid_t const child = fork();
    if (child == 0)
        becomeCommand(command);
    int state = 0;
    waitpid(child, &state, 0);
    kill(getpid(), SIGRTMAX);
    tellSignals(SIGRTMAX);
    return WEXITSTATUS(state);
}

} // namespace

int main(int, char** argv) {
    blockAllSignals();
    // Leads a group of its own, which a negative number in a PID file would stand for.
    setpgid(0, 0);
    if (argv[1] != nullptr) {
        introduceItself();
        return runCommand(argv + 1);
    }
    std::thread([] {
        introduceItself();
        tellSignals(SIGRTMAX);
    }).join();
}
