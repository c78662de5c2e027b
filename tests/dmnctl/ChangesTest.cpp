// start, stop and restart.

#include "ToolTest.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace test {

namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

class Changes : public ToolTest {
protected:
    static Outcome runInShell(std::string const& line) {
        return test::run({"/bin/bash", "-c", line}, {{"tool", DMN_DMNCTL}});
    }
};

class ChangesByUsers : public ToolAccountsTest {};

} // namespace

TEST_F(Changes, StartShowsTheStepsAndReturnsWhenTheDaemonIsReady) {
    install();

    Outcome const outcome = tool({"start", "clock"});

    EXPECT_EQ(0, outcome.status) << outcome.errors;
    EXPECT_THAT(outcome.output, AllOf(HasSubstr("clock: Winding up\n"), EndsWith("\n" + running())));
}

TEST_F(Changes, StartFindsADaemonThatRuns) {
    bringUp();

    Outcome const outcome = tool({"start", "clock"});

    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("clock runs already " + process(daemonPID()) + ".\n", outcome.output);
}

// One in /run is gone after each boot.
TEST_F(Changes, StartMakesTheControlFolder) {
    installBoth();
    std::filesystem::remove_all(m_controlFolder);

    EXPECT_EQ(0, tool({"start", "clock", "testd"}).status);
}

TEST_F(Changes, StartOfADaemonThatFailsShowsItsErrorAndItsLastEntries) {
    install();

    Outcome const outcome = tool({"start", "clock"}, {{"CLOCK_INIT", "throw"}});

    EXPECT_EQ(2, outcome.status);
    EXPECT_THAT(outcome.errors,
                AllOf(StartsWith("dmnctl: The daemon 'clock' has not come up: The clock has no hands. "),
                      HasSubstr("\ndmnctl: The last entries in the log of clock:\n"),
                      HasSubstr("Performing command 'daemon'")));
}

TEST_F(Changes, OneThatFailsDoesNotKeepTheOthers) {
    installBoth();

    Outcome const outcome = tool({"start", "--all"}, {{"CLOCK_INIT", "throw"}});

    EXPECT_EQ(2, outcome.status);
    EXPECT_THAT(outcome.output, HasSubstr("\ntestd is running (process "));
    EXPECT_EQ(0, tool({"status", "testd"}).status);
}

TEST_F(Changes, StartGivesUpWhenTheTimeIsUp) {
    install();

    Outcome const outcome = tool({"start", "clock", "--timeout=0"}, {{"CLOCK_INIT", "hang"}});

    EXPECT_EQ(2, outcome.status);
    EXPECT_THAT(outcome.errors, AllOf(HasSubstr("was not ready after 0 "),
                                      HasSubstr(" To end it by force: dmnctl stop --kill clock\n")));
}

TEST_F(Changes, StopEndsDaemonsOfBothFrontEnds) {
    installBoth();
    tool({"start", "--all"});

    Outcome const outcome = tool({"stop", "--all"});

    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("clock has stopped.\ntestd has stopped.\n", outcome.output);
    EXPECT_EQ("clock does not run.\n", tool({"stop", "clock"}).output);
}

TEST_F(Changes, StopEndsADeafDaemonByForceWhenToldTo) {
    bringUp({{"CLOCK_IGNORES_STOP", "1"}});
    std::string const name = process(daemonPID());

    Outcome const late = tool({"stop", "clock", "--timeout=0"});
    EXPECT_EQ(2, late.status);
    EXPECT_THAT(late.errors, EndsWith(" and goes on. To end it by force: dmnctl stop --kill clock\n"));

    Outcome const outcome = tool({"stop", "clock", "--timeout=0", "--kill"});

    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("clock did not stop and was ended by force " + name + ".\n", outcome.output);
}

TEST_F(Changes, RestartGivesADaemonAnotherProcess) {
    bringUp();
    pid_t const before = daemonPID();

    Outcome const outcome = tool({"restart", "clock"});

    EXPECT_EQ(0, outcome.status);
    EXPECT_THAT(outcome.output, AllOf(StartsWith("clock has stopped.\n"), EndsWith(running())));
    EXPECT_NE(before, daemonPID());
}

TEST_F(Changes, RestartDoesNotStartWhatHasNotStopped) {
    bringUp({{"CLOCK_IGNORES_STOP", "1"}});
    pid_t const before = daemonPID();

    EXPECT_EQ(2, tool({"restart", "clock", "--timeout=0"}).status);
    EXPECT_EQ(before, daemonPID());
}

TEST_F(Changes, AreMadeWhetherOrNotAnybodyReads) {
    bringUp();
    pid_t const before = daemonPID();

    EXPECT_EQ("0\n", runInShell("exec 3> >(true); wait $!; $tool restart clock >&3; echo $? >&2").errors);
    EXPECT_NE(before, daemonPID());
    EXPECT_EQ(0, status());

    Outcome const outcome = runInShell("$tool stop clock >/dev/full");
    EXPECT_EQ(2, outcome.status);
    EXPECT_THAT(outcome.errors, HasSubstr("No space left"));
    EXPECT_EQ(3, status());
}

TEST_F(Changes, OfTwoAtOnceComeToTheSame) {
    install();

    Program first(command({"start", "clock"}));
    Program second(command({"start", "clock"}));

    Outcome const outcomes[] = {first.wait(), second.wait()};
    for (Outcome const& outcome : outcomes) {
        EXPECT_EQ(0, outcome.status) << outcome.errors;
        EXPECT_THAT(outcome.output, HasSubstr(process(daemonPID()) + ".\n"));
    }
}

TEST_F(Changes, OfAllAreNoneWhereNoDaemonIsInstalled) {
    Outcome const outcome = tool({"start", "--all"});
    EXPECT_EQ(0, outcome.status);
    EXPECT_THAT(outcome.output, StartsWith("No daemon is installed."));
}

// A caller may ignore the signal by which the end of a child is reported.
TEST_F(Changes, LearnHowADaemonEndsThoughTheCallerIgnoresItsChildren) {
    install();

    Outcome const outcome = test::run({"/bin/bash", "-c", "trap '' CHLD; exec $tool start clock"},
                                      {{"tool", DMN_DMNCTL}, {"CLOCK_INIT", "exit"}});

    EXPECT_THAT(outcome.errors, HasSubstr("has ended with status 3"));
}

TEST_F(ChangesByUsers, AreRefused) {
    install();
    for (char const* const change : {"start", "stop", "restart"}) {
        Outcome const outcome = test::run(asUser("dmnuser", command({change, "clock"})));
        EXPECT_EQ(2, outcome.status);
        EXPECT_EQ(std::string("dmnctl: Only root can ") + change + " daemons. Try: sudo dmnctl " + change +
                      " ...\n",
                  outcome.errors);
    }
}

} // namespace test
