/* A floor: the least that a daemon can be.
 * Usage: floor start PIDFILE   forks; the child writes its number to the file and waits for SIGTERM
 *        floor wait            waits for SIGTERM in this process
 *        floor stop PIDFILE    sends SIGTERM and waits for the end of the process */

#define _GNU_SOURCE
#include <poll.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

static void block_termination(sigset_t* signals) {
    sigemptyset(signals);
    sigaddset(signals, SIGTERM);
    sigprocmask(SIG_BLOCK, signals, NULL);
}

static int await_termination(void) {
    sigset_t signals;
    int signal;
    block_termination(&signals);
    return sigwait(&signals, &signal);
}

static int write_pid(char const* name) {
    FILE* file = fopen(name, "we");
    if (file == NULL)
        return 1;
    fprintf(file, "%d\n", getpid());
    return fclose(file);
}

static int start(char const* name) {
    sigset_t signals;
    pid_t child = fork();
    if (child != 0)
        return child == -1;
    block_termination(&signals);
    setsid();
    if (write_pid(name) != 0)
        return 1;
    await_termination();
    return unlink(name);
}

static int read_pid(char const* name) {
    int pid = 0;
    FILE* file = fopen(name, "re");
    if (file == NULL)
        return 0;
    if (fscanf(file, "%d", &pid) != 1)
        pid = 0;
    fclose(file);
    return pid;
}

static int stop(char const* name) {
    int pid = read_pid(name);
    struct pollfd end = {.events = POLLIN};
    if (pid < 1)
        return 0;
    end.fd = (int)syscall(SYS_pidfd_open, pid, 0);
    if (end.fd == -1 || kill(pid, SIGTERM) == -1)
        return 1;
    return poll(&end, 1, -1) == 1 ? 0 : 1;
}

int main(int argc, char** argv) {
    if (argc == 3 && strcmp(argv[1], "start") == 0)
        return start(argv[2]);
    if (argc == 2 && strcmp(argv[1], "wait") == 0)
        return await_termination();
    if (argc == 3 && strcmp(argv[1], "stop") == 0)
        return stop(argv[2]);
    fprintf(stderr, "floor: unknown command '%s'\n", argc > 1 ? argv[1] : "");
    return 2;
}
