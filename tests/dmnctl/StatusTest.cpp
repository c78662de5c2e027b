#include "ToolTest.h"

#include <gmock/gmock.h>

#include <filesystem>

#include <signal.h>

namespace test {

namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

class Status : public ToolTest {
protected:
    /// Leaves the PID file behind.
    void killClock() const {
        pid_t const process = servicePID();
        kill(process, SIGKILL);
        EXPECT_TRUE(await([&] { return hasEnded(process); }));
    }

    static void expectStatus(int status, std::string const& output, Words const& words) {
        Outcome const outcome = tool(words);
        EXPECT_EQ(status, outcome.status);
        EXPECT_EQ(output, outcome.output);
        EXPECT_EQ("", outcome.errors);
    }
};

class StatusForUsers : public ToolAccountsTest {};

} // namespace

TEST_F(Status, SaysWhetherADaemonRuns) {
    install();
    expectStatus(3, "clock does not run.\n", {"status", "clock"});
    start();
    expectStatus(0, running(), {"status", "clock"});
    killClock();
    expectStatus(1, "clock is dead: it has left its PID file '" + pidFile() + "' behind.\n",
                 {"status", "clock"});
}

TEST_F(Status, OfSeveralIsTheWorst) {
    installBoth();
    start();
    std::string const plain = "testd does not run.\n";

    expectStatus(3, running() + plain, {"status"});
    expectStatus(3, plain + running(), {"status", "testd", "clock"});
    killClock();
    EXPECT_EQ(1, tool({"status"}).status);
    EXPECT_EQ(4, tool({"status", "clock", "nobody"}).status);
}

TEST_F(Status, SaysThatNoDaemonIsInstalled) {
    Outcome const outcome = tool({"status"});
    EXPECT_EQ(0, outcome.status);
    EXPECT_THAT(outcome.output, HasSubstr("No daemon is installed."));
}

TEST_F(Status, ShowsAllThatIsKnown) {
    bringUp();

    EXPECT_THAT(tool({"status", "--verbose"}).output,
                AllOf(HasSubstr("\n  Script:         /etc/init.d/clock\n"),
                      HasSubstr("\n  Control folder: " + m_controlFolder + "\n"),
                      HasSubstr("\n  Program:        " DMN_SERVICE "\n"),
                      HasSubstr("\n  Process:        " + std::to_string(servicePID()) + "\n"),
                      HasSubstr("\n  Account:        "), HasSubstr("\n  Since:          2"),
                      HasSubstr(" MiB\n"), HasSubstr("\n  At boot:        yes\n"),
                      HasSubstr("\n  Log:            " + m_log.path() + "\n")));
}

TEST_F(Status, EscapesWhatCouldActOnATerminal) {
    m_controlFolder = m_folder.name("\x1b\u202e");
    install();

    Outcome const outcome = tool({"status", "--verbose"});

    EXPECT_THAT(outcome.output, AllOf(HasSubstr("/\\x1b\\u202e\n"), Not(HasSubstr("\x1b"))));
}

TEST_F(Status, IsUnknownWithoutAControlFolder) {
    EXPECT_EQ(0, runClock({"install", "--controlFolder=" + m_controlFolder}).status);
    std::filesystem::remove_all(m_controlFolder);
    writeFile(m_controlFolder, "no folder");

    expectStatus(3, "clock does not run.\n", {"status", "clock"});
}

TEST_F(StatusForUsers, IsForEverybody) {
    bringUp();
    setMode(m_controlFolder, 0755);

    Outcome const outcome = test::run(asUser("dmnuser", command({"status", "clock"})));

    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ(running(), outcome.output);
}

TEST_F(StatusForUsers, IsUnknownToWhoMayNotLook) {
    bringUp();
    setMode(m_controlFolder, 0700);

    Outcome const outcome = test::run(asUser("dmnuser", command({"status", "clock"})));

    EXPECT_EQ(4, outcome.status);
    EXPECT_THAT(outcome.output,
                AllOf(HasSubstr("It is unknown whether clock runs: "), HasSubstr("ermission")));

    Outcome const list = test::run(asUser("dmnuser", command({"list"})));
    EXPECT_EQ(0, list.status);
    EXPECT_THAT(list.output, HasSubstr("clock  unknown        ?  ?"));
    EXPECT_THAT(list.errors, HasSubstr("ermission"));
}

} // namespace test
