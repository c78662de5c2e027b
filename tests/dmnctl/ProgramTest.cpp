// The program as such: its help, its version, its errors, and where its output goes.

#include "ToolTest.h"

#include <dmn/version.h>

#include <gmock/gmock.h>

#include <signal.h>

namespace test {

namespace {

using testing::HasSubstr;

Words const commands{"list", "status", "start", "stop", "restart", "check", "log", "boot", "unit"};

Outcome runTool(Words words) {
    words.insert(words.begin(), DMN_DMNCTL);
    return test::run(words);
}

/// Runs a line of the shell in which $tool is the program.
Outcome runInShell(std::string const& line) {
    return test::run({"/bin/bash", "-c", line}, {{"tool", DMN_DMNCTL}});
}

void expectBadCommandLine(std::string const& problem, Words const& words) {
    Outcome const outcome = runTool(words);
    EXPECT_EQ(2, outcome.status) << problem;
    EXPECT_EQ("", outcome.output);
    EXPECT_EQ("dmnctl: " + problem + "\n", outcome.errors);
}

} // namespace

TEST(Tool, ShowsItsVersion) {
    Outcome const outcome = runTool({"--version"});
    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("dmnctl " DMN_VERSION_STRING "\n", outcome.output);
}

TEST(Tool, ShowsItsCommandsAndTheirExamples) {
    std::string const help = runTool({"--help"}).output;
    for (std::string const& command : commands) {
        EXPECT_THAT(help, HasSubstr("\n  " + command + " "));
        Outcome const outcome = runTool({command, "--help"});
        EXPECT_EQ(0, outcome.status);
        EXPECT_THAT(outcome.output, HasSubstr("\nExample"));
        EXPECT_THAT(outcome.output, HasSubstr("\n  dmnctl " + command));
    }
}

TEST(Tool, SaysOnOneLineWhatIsWrongWithACommandLine) {
    expectBadCommandLine("There is no command 'lst'. See dmnctl --help", {"lst"});
    expectBadCommandLine("There is no option '--jsn'. See dmnctl --help", {"--jsn"});
    expectBadCommandLine("There is no command 'a\\nb'. See dmnctl --help", {"a\nb"});
    expectBadCommandLine("start: no daemon is named. Name some, or say --all. See dmnctl start --help",
                         {"start"});
    expectBadCommandLine("stop: either name daemons or say --all. See dmnctl stop --help",
                         {"stop", "--all", "clock"});
    expectBadCommandLine(
        "restart: --timeout: Value soon not in range 0 to 2147483. See dmnctl restart --help",
        {"restart", "clock", "--timeout=soon"});
    expectBadCommandLine(
        "restart: --timeout: Value 2147484 not in range 0 to 2147483. See dmnctl restart --help",
        {"restart", "clock", "--timeout=2147484"});
    expectBadCommandLine("log: --lines: Value -1 not in range 0 to 1000000000. See dmnctl log --help",
                         {"log", "-n", "-1"});
    expectBadCommandLine("boot: STATE: 'maybe' is neither on nor off. See dmnctl boot --help",
                         {"boot", "clock", "maybe"});
    expectBadCommandLine("unit: ID is required. See dmnctl unit --help", {"unit"});
}

TEST(Tool, FailsWhenItsOutputCannotBeWritten) {
    Outcome const outcome = runInShell("$tool --help >/dev/full");
    EXPECT_EQ(2, outcome.status);
    EXPECT_EQ("dmnctl: Standard output cannot be written: No space left on device.\n", outcome.errors);
}

TEST(Tool, FailsWhenItsOutputIsClosed) {
    for (char const* const closed : {">&-", ">&- <&-"}) {
        Outcome const outcome = runInShell(std::string("$tool --help ") + closed);
        EXPECT_EQ(2, outcome.status);
        EXPECT_EQ("dmnctl: Standard output cannot be written: Bad file descriptor.\n", outcome.errors);
    }
}

// Also where the caller ignores the signal.
TEST(Tool, EndsQuietlyWhenItsReaderGoesAway) {
    Outcome const outcome =
        runInShell("exec 3> >(true); wait $!; trap '' PIPE; $tool --help >&3; echo $? >&2");
    EXPECT_EQ(std::to_string(128 + SIGPIPE) + "\n", outcome.errors);
}

} // namespace test
