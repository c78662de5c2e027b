#pragma once

#include <fdn/system/Descriptor.h>

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include <sys/types.h>

namespace test {

/// Variables for a program. They come on top of those of the test and take precedence.
using Environment = std::map<std::string, std::string>;

/// How a program ended and what it wrote.
struct Outcome {
    int status = -1; ///< the exit status, or -1 when a signal ended it
    int signal = 0;  ///< the signal that ended it, or 0
    std::string output;
    std::string errors;
};

/// A program that the test has started. The destructor kills and reaps it if it still runs.
class Program {
public:
    /// Starts a program with nothing on its standard input. `arguments` begins with the program, which is
    /// searched for in PATH unless it contains a "/". Throws std::system_error when it cannot be started.
    explicit Program(std::vector<std::string> const& arguments, Environment const& environment = {});

    /// Forks a child that performs the action instead of running another program. It exits with 0, or with 1
    /// if the action throws, and then writes the exception's message to its standard error. Expectations do
    /// not count in the child: let the action write what the test should check.
    explicit Program(std::function<void()> const& action);

    Program(Program const&) = delete;
    Program& operator=(Program const&) = delete;
    ~Program();

    pid_t pid() const { return m_pid; }

    void sendSignal(int signal) const;

    /// What the program has written so far.
    std::string output() const;
    std::string errors() const;

    /// Waits for the program to end, but not for descendants that still have its streams open. A program that
    /// runs for more than a minute fails the running test and is killed. May be called once.
    Outcome wait();

private:
    void spawn(std::vector<std::string> const& arguments, Environment const& environment);
    [[noreturn]] void perform(std::function<void()> const& action) const;
    void endAfterAMinute() const;

    fdn::Descriptor m_output;
    fdn::Descriptor m_errors;
    pid_t m_pid = -1;
    bool m_hasEnded = false;
};

/// Waits until the program has written exactly this. The failure, after 30 seconds, says what it has written
/// instead.
testing::AssertionResult awaitOutput(Program const& program, std::string const& output);

/// Throws std::runtime_error with this reason unless the condition holds: for children of a test, where
/// expectations do not count.
void require(bool condition, std::string const& reason);

/// Runs a program and waits for its end.
Outcome run(std::vector<std::string> const& arguments, Environment const& environment = {});

/// Performs the action in a child of the test and waits for its end.
Outcome runInChild(std::function<void()> const& action);

/// Returns the command line that runs another one as this account, with the account's groups and none of
/// root's other rights.
std::vector<std::string> asUser(std::string const& account, std::vector<std::string> const& arguments);

} // namespace test
