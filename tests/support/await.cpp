#include "support/await.h"

#include <chrono>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

namespace test {

namespace {

/// The state letter of a process or thread (proc_pid_stat(5)), or a blank if there is none.
char stateOf(pid_t thread) {
    std::ifstream file("/proc/" + std::to_string(thread) + "/stat");
    std::string const line(std::istreambuf_iterator<char>(file), {});
    // The process name before it may contain anything, a parenthesis included.
    std::size_t const endOfName = line.rfind(')');
    return endOfName == std::string::npos ? ' ' : line[endOfName + 2];
}

} // namespace

bool await(std::function<bool()> const& condition) {
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

bool awaitSleep(pid_t thread) {
    return await([thread] { return stateOf(thread) != 'R'; });
}

} // namespace test
