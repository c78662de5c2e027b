#pragma once

#include <fdn/system/Descriptor.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include <sys/types.h>

namespace test {

/// Variables that a program gets besides those of the test.
using Environment = std::map<std::string, std::string>;

/// How a program ended, and what it wrote.
struct Outcome {
    int status = -1; ///< the exit status, or -1 when a signal ended it
    int signal = 0;  ///< the signal that ended it, or 0
    std::string output;
    std::string errors;
};

/// A program that the test has started, with nothing on its standard input. It is killed and reaped when the
/// object goes.
class Program {
public:
    /// `arguments` begins with the program, which is looked for in PATH unless it holds a "/". Throws
    /// std::system_error when it cannot be started.
    explicit Program(std::vector<std::string> const& arguments, Environment const& environment = {});

    /// A child of the test that performs the action instead of running another program. Its exit status is 0,
    /// or 1 when the action throws; the exception's message is then on its standard error. Expectations do
    /// not count in there: let the action write what the test is to look at.
    explicit Program(std::function<void()> const& action);

    Program(Program const&) = delete;
    Program& operator=(Program const&) = delete;
    ~Program();

    pid_t pid() const { return m_pid; }

    void sendSignal(int signal) const;

    /// What the program has written up to now.
    std::string output() const;
    std::string errors() const;

    /// Waits for the program's end. Descendants that still have its streams open do not count. A program that
    /// goes on for a minute fails the running test and is killed.
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

/// Runs a program to its end.
Outcome run(std::vector<std::string> const& arguments, Environment const& environment = {});

/// Performs the action in a child of the test, to its end.
Outcome runInChild(std::function<void()> const& action);

/// The command line that runs another one as this account, with its groups and nothing else of root's rights.
std::vector<std::string> asUser(std::string const& account, std::vector<std::string> const& arguments);

} // namespace test
