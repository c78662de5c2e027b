#pragma once

#include "support/CapturedLog.h"
#include "support/Program.h"
#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <wx/cmdline.h>

#include <string>
#include <vector>

namespace test {

/// What a bad command line is answered with last, with the line feed that puts() adds.
extern char const* const commandSummary;

/// Declares the command word and the seven options, from a list of its own.
void declareCommandLine(wxCmdLineParser& parser);

/// What the parser alone prints about a command line that it cannot parse: usage and message.
std::string parserReportFor(std::vector<std::string> const& arguments);

/// The parser's usage of the program.
std::string usageOf(std::string const& program);

/// The base of tests that run the program test_daemon, which acts at its hooks as a script tells it; see
/// there. Its control folder, which does not exist yet, and its log are the test's own.
template <class Base>
class TestDaemonFixture : public Base {
protected:
    std::string const program = DMN_TEST_DAEMON;

    /// Arguments that name the control folder, before others.
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

    /// The log's entry about a command that begins.
    std::string performing(std::string const& command, std::string const& folder) const {
        return "Performing command '" + command + "', controlFolder='" + folder + "', exePath='" + program +
               "'.";
    }

    std::string performing(std::string const& command) const { return performing(command, controlFolder()); }

    /// The entries about a CError that ends the program.
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
