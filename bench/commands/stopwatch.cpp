// Runs a command and prints how long it took in nanoseconds, the peak of its memory in KiB, and its exit
// status. Usage: stopwatch [--until FILE] COMMAND [ARGUMENT...]
//
// With --until, the time ends when the command has ended and the file is not empty. The command's output is
// dropped. This program is small and linked statically, because the peak that the system reports for a
// command starts with the memory of the process that it was forked from.

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include <fcntl.h>
#include <libgen.h>
#include <poll.h>
#include <spawn.h>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

namespace {

constexpr int kPatienceMs = 30'000;

std::int64_t now() {
    timespec time = {};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time.tv_sec * INT64_C(1'000'000'000) + time.tv_nsec;
}

pid_t spawn(char** command) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    pid_t child = -1;
    int const error = posix_spawnp(&child, command[0], &actions, nullptr, command, environ);
    if (error != 0)
        std::fprintf(stderr, "stopwatch: '%s' could not be run: %s\n", command[0], std::strerror(error));
    return error == 0 ? child : -1;
}

bool hasContent(char const* file) {
    struct stat info = {};
    return stat(file, &info) == 0 && info.st_size > 0;
}

// A descriptor that becomes readable when something in the file's folder changes. Looking again and again
// would take a processor away from what is measured.
int watchFolder(std::string file) {
    int const watch = inotify_init1(IN_CLOEXEC);
    inotify_add_watch(watch, dirname(file.data()), IN_MODIFY | IN_MOVED_TO);
    return watch;
}

bool awaitContent(char const* file, int watch) {
    pollfd change = {watch, POLLIN, 0};
    char events[4096];
    while (!hasContent(file))
        if (poll(&change, 1, kPatienceMs) != 1 || read(watch, events, sizeof events) == -1)
            return false;
    return true;
}

int measure(char const* awaitedFile, char** command) {
    int const watch = awaitedFile == nullptr ? -1 : watchFolder(awaitedFile);
    std::int64_t const start = now();
    pid_t const child = spawn(command);
    int state = 0;
    rusage usage = {};
    if (child == -1 || wait4(child, &state, 0, &usage) != child)
        return 1;
    if (awaitedFile != nullptr && !awaitContent(awaitedFile, watch)) {
        std::fprintf(stderr, "stopwatch: nothing was written to '%s' in time\n", awaitedFile);
        return 1;
    }
    std::int64_t const duration = now() - start;
    int const status = WIFEXITED(state) ? WEXITSTATUS(state) : 128 + WTERMSIG(state);
    std::printf("%lld %ld %d\n", static_cast<long long>(duration), usage.ru_maxrss, status);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    bool const awaits = argc > 3 && std::strcmp(argv[1], "--until") == 0;
    char** const command = argv + (awaits ? 3 : 1);
    if (*command == nullptr) {
        std::fputs("Usage: stopwatch [--until FILE] COMMAND [ARGUMENT...]\n", stderr);
        return 2;
    }
    return measure(awaits ? argv[2] : nullptr, command);
}
