#include "support/Program.h"

#include "support/await.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

// Provided by the compiler in builds that measure coverage: writes the measurements, which otherwise only
// exit() does.
extern "C" [[gnu::weak]] void __gcov_dump(); // NOLINT(bugprone-reserved-identifier)

namespace test {

namespace {

constexpr int kLongestRunMs = 60000;

void check(int error, std::string const& what) {
    if (error != 0)
        throw std::system_error(error, std::generic_category(), what);
}

// A file without a name rather than a pipe: it never fills up, and no descendant that keeps it open delays
// anybody.
fdn::Descriptor makeCapture() {
    fdn::Descriptor file(memfd_create("dmn-test-capture", MFD_CLOEXEC));
    check(file.isOpen() ? 0 : errno, "memfd_create");
    return file;
}

std::string readCapture(fdn::Descriptor const& file) {
    std::string content;
    std::array<char, 4096> piece = {};
    ssize_t length = 0;
    while ((length = pread(file.get(), piece.data(), piece.size(), static_cast<off_t>(content.size()))) > 0)
        content.append(piece.data(), static_cast<std::size_t>(length));
    return content;
}

std::vector<std::string> mergeIntoOwn(Environment merged) {
    for (char** entry = environ; *entry != nullptr; ++entry) {
        std::string const text(*entry);
        std::size_t const nameEnd = text.find('=');
        merged.emplace(text.substr(0, nameEnd), nameEnd == std::string::npos ? "" : text.substr(nameEnd + 1));
    }
    std::vector<std::string> entries;
    for (auto const& [name, value] : merged)
        entries.push_back(std::string(name).append("=").append(value));
    return entries;
}

// Returns what exec takes. The pointers are valid as long as the texts.
std::vector<char*> toPointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

} // namespace

Program::Program(std::vector<std::string> const& arguments, Environment const& environment)
    : m_output(makeCapture()), m_errors(makeCapture()) {
    spawn(arguments, environment);
}

Program::Program(std::function<void()> const& action) : m_output(makeCapture()), m_errors(makeCapture()) {
    std::fflush(nullptr);
    m_pid = fork();
    check(m_pid == -1 ? errno : 0, "fork");
    if (m_pid == 0)
        perform(action);
}

Program::~Program() {
    if (m_hasEnded)
        return;
    kill(m_pid, SIGKILL);
    waitpid(m_pid, nullptr, 0);
}

void Program::spawn(std::vector<std::string> const& arguments, Environment const& environment) {
    std::vector<std::string> argumentTexts = arguments;
    std::vector<std::string> environmentTexts = mergeIntoOwn(environment);
    posix_spawn_file_actions_t streams;
    posix_spawn_file_actions_init(&streams);
    posix_spawn_file_actions_addopen(&streams, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&streams, m_output.get(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&streams, m_errors.get(), STDERR_FILENO);
    int const error = posix_spawnp(&m_pid, arguments.at(0).c_str(), &streams, nullptr,
                                   toPointers(argumentTexts).data(), toPointers(environmentTexts).data());
    posix_spawn_file_actions_destroy(&streams);
    check(error, arguments[0]);
}

void Program::perform(std::function<void()> const& action) const {
    dup2(m_output.get(), STDOUT_FILENO);
    dup2(m_errors.get(), STDERR_FILENO);
    int status = 0;
    try {
        action();
    } catch (std::exception const& e) {
        std::fputs(e.what(), stderr);
        status = 1;
    }
    std::fflush(nullptr);
    if (__gcov_dump != nullptr)
        __gcov_dump();
    // Not exit(): the child must not run the test's clean-up.
    _exit(status);
}

void Program::sendSignal(int signal) const {
    check(kill(m_pid, signal) == 0 ? 0 : errno, "kill");
}

std::string Program::output() const {
    return readCapture(m_output);
}

std::string Program::errors() const {
    return readCapture(m_errors);
}

Outcome Program::wait() {
    if (m_hasEnded)
        throw std::logic_error("wait() was called twice for one program.");
    endAfterAMinute();
    int state = 0;
    while (waitpid(m_pid, &state, 0) == -1)
        check(errno == EINTR ? 0 : errno, "waitpid");
    m_hasEnded = true;
    return {WIFEXITED(state) ? WEXITSTATUS(state) : -1, WIFSIGNALED(state) ? WTERMSIG(state) : 0, output(),
            errors()};
}

void Program::endAfterAMinute() const {
    fdn::Descriptor const process(static_cast<int>(syscall(SYS_pidfd_open, m_pid, 0)));
    check(process.isOpen() ? 0 : errno, "pidfd_open");
    pollfd end = {process.get(), POLLIN, 0};
    if (fdn::uninterrupted([&] { return poll(&end, 1, kLongestRunMs); }) != 0)
        return;
    ADD_FAILURE() << "The program has not ended within a minute. Its output so far: " << output() << errors();
    sendSignal(SIGKILL);
}

testing::AssertionResult awaitOutput(Program const& program, std::string const& output) {
    if (await([&] { return program.output() == output; }))
        return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << "output: '" << program.output() << "', errors: '" << program.errors() << "'";
}

void require(bool condition, std::string const& reason) {
    if (!condition)
        throw std::runtime_error(reason);
}

Outcome run(std::vector<std::string> const& arguments, Environment const& environment) {
    return Program(arguments, environment).wait();
}

Outcome runInChild(std::function<void()> const& action) {
    return Program(action).wait();
}

std::vector<std::string> asUser(std::string const& account, std::vector<std::string> const& arguments) {
    std::vector<std::string> command{"setpriv", "--reuid=" + account, "--regid=" + account, "--init-groups",
                                     "--"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
}

} // namespace test
