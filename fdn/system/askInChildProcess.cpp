#include <fdn/system/askInChildProcess.h>

#include <fdn/sysError.h>
#include <fdn/system/AllSignalsBlocked.h>
#include <fdn/system/Pipe.h>
#include <fdn/system/closeDescriptors.h>

#include <csignal>

#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fdn {

namespace {

constexpr char kAction[] = "asking a file system";

pid_t startToFind(void const* answer, std::size_t size, std::function<void()> const& find, int pipe) {
    // fork() would run the application's handlers, which may do anything.
    pid_t const process = _Fork();
    if (process != 0)
        return process;
    // If it gets stuck, those who read what this program prints must not wait for it as well.
    closeAllBut(pipe);
    find();
    uninterrupted([&] { return write(STDIN_FILENO, answer, size); });
    _exit(0);
}

bool receive(Descriptor const& pipe, int patience, char* bytes, std::size_t size) {
    pollfd event = {pipe.get(), POLLIN, 0};
    while (size > 0 && uninterrupted([&] { return poll(&event, 1, patience); }) == 1) {
        ssize_t const count = uninterrupted([&] { return read(pipe.get(), bytes, size); });
        if (count <= 0)
            return false;
        bytes += count;
        size -= static_cast<std::size_t>(count);
    }
    return size == 0;
}

} // namespace

bool askInChildProcess(int patience, void* answer, std::size_t size, std::function<void()> const& find) {
    Pipe pipe = makePipe(kAction);
    AllSignalsBlocked const blocked; // each signal would restart the time-out
    pid_t const process = startToFind(answer, size, find, pipe.writing.get());
    if (process == -1)
        throwLastSysError("fork", kAction);
    pipe.writing.reset();
    bool const hasCome = receive(pipe.reading, patience, static_cast<char*>(answer), size);
    if (!hasCome)
        kill(process, SIGKILL);
    waitpid(process, nullptr, hasCome ? 0 : WNOHANG);
    return hasCome;
}

} // namespace fdn
