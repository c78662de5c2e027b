#pragma once

#include "support/CapturedLog.h"
#include "support/Program.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <wx/cmdline.h>

#include <string>
#include <vector>

namespace test {

/// The last part of the answer to a bad command line, with the line feed that puts() adds.
extern char const* const commandSummary;

/// Declares the command word and the seven options, from a list independent of the one in the library.
void declareCommandLine(wxCmdLineParser& parser);

/// What the parser itself prints about a command line that it cannot parse: usage and message.
std::string parserReportFor(std::vector<std::string> const& arguments);

/// The usage of the program, as the parser prints it.
std::string usageOf(std::string const& program);

/// The base of tests that run the program test_daemon, which acts at its hooks as `script` tells it to (see
/// test_daemon.cpp). Its control folder, which does not exist at first, and its log belong to the test.
template <class Base>
class TestDaemonFixture : public Base {
protected:
    std::string const program = DMN_TEST_DAEMON;

    /// Returns the arguments with one in front that names the control folder.
    std::vector<std::string> in(std::vector<std::string> const& others) const {
        std::vector<std::string> arguments{"--controlFolder=" + controlFolder()};
        arguments.insert(arguments.end(), others.begin(), others.end());
        return arguments;
    }

    std::string controlFolder() const { return m_folder.name("control"); }

    std::string pidFile() const { return controlFolder() + "/testd.pid"; }

    Program start(std::vector<std::string> const& arguments, std::string const& script = "",
                  std::string const& call = "") const {
        std::vector<std::string> command{program};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return Program(
            command,
            {{"TEST_DAEMON", script}, {"TEST_DAEMON_CALL", call}, {"TEST_DAEMON_GO", m_folder.name("go")}});
    }

    Outcome run(std::vector<std::string> const& arguments, std::string const& script = "",
                std::string const& call = "") const {
        return start(arguments, script, call).wait();
    }

    /// Ends the action "pause".
    void go() const { writeFile(m_folder.name("go"), ""); }

    /// The log entry about the beginning of a command.
    std::string performing(std::string const& command, std::string const& folder) const {
        return "Performing command '" + command + "', controlFolder='" + folder + "', exePath='" + program +
               "'.";
    }

    std::string performing(std::string const& command) const { return performing(command, controlFolder()); }

    /// The log entry about a CError that ends the program.
    static std::string escaped(std::string const& message) {
        return "error: <text>exception in entry function</text><where>CDaemonEntry::entry</where><what>" +
               message + "</what><code>-1</code>";
    }

    static std::string fatal(std::string const& message) { return "\n\nFATAL ERROR: " + message + "\n\n\n"; }

    TemporaryFolder m_folder;
    CapturedLog m_log;
};

constexpr char finished[] = "Finished command. Returning exit code 0.";

} // namespace test
