// Where systemd runs the machine and has a unit for the daemon, the unit is started and stopped. A program
// that only pretends to be systemctl stands in for it: tests/system has the real one.

#include "ToolTest.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <filesystem>

namespace test {

namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;

class Systemctl : public ToolTest {
protected:
    void SetUp() override {
        ToolTest::SetUp();
        if (!isInPrivateRoot())
            return;
        std::filesystem::create_directories("/run/systemd/system");
        std::filesystem::create_directories("/etc/systemd/system");
        writeFile("/etc/systemd/system/clock.service", "");
        install();
    }

    /// Runs the program with a systemctl that does this.
    Outcome toolWith(std::string const& systemctl, Words const& words) const {
        writeFile(m_folder.name("systemctl"),
                  "#!/bin/sh\necho \"$@\" >>" + calls() + "\n" + systemctl + "\n");
        setMode(m_folder.name("systemctl"), 0755);
        return tool(words, {{"PATH", m_folder.name() + ":" + std::getenv("PATH")}});
    }

    std::string calls() const { return m_folder.name("calls"); }

    std::string const m_start = DMN_SERVICE " start >/dev/null";
    std::string const m_stop = DMN_SERVICE " stop >/dev/null";
};

} // namespace

TEST_F(Systemctl, StartsTheUnit) {
    Outcome const outcome = toolWith(m_start, {"start", "clock"});

    EXPECT_EQ(0, outcome.status) << outcome.errors;
    EXPECT_EQ(running(), outcome.output);
    EXPECT_EQ("start -- clock.service\n", readFile(calls()));
}

// Its unit could only fail.
TEST_F(Systemctl, StartsNoUnitOfADaemonThatRuns) {
    start();

    EXPECT_EQ("clock runs already " + process(servicePID()) + ".\n",
              toolWith("false", {"start", "clock"}).output);
    EXPECT_FALSE(std::filesystem::exists(calls()));
}

TEST_F(Systemctl, ShowsTheLastEntriesOfADaemonWhoseUnitFails) {
    Outcome const outcome = toolWith("CLOCK_INIT=throw " + m_start + "; exit 1", {"start", "clock"});

    EXPECT_EQ(2, outcome.status);
    EXPECT_THAT(outcome.errors, AllOf(HasSubstr("'systemctl start clock' has failed."),
                                      HasSubstr("The last entries in the log of clock:\n"),
                                      HasSubstr("The clock has no hands.")));
}

TEST_F(Systemctl, IsNotWaitedForWhenTheTimeIsUp) {
    Outcome const outcome = toolWith("exec sleep 1000", {"start", "clock", "--timeout=0"});

    EXPECT_EQ(2, outcome.status);
    EXPECT_THAT(outcome.errors, HasSubstr("'systemctl start clock' is not done after 0 s."));
}

TEST_F(Systemctl, StopsTheUnit) {
    start();

    Outcome const outcome = toolWith(m_stop, {"stop", "clock"});

    EXPECT_EQ(0, outcome.status) << outcome.errors;
    EXPECT_EQ("clock has stopped.\n", outcome.output);
    EXPECT_EQ("stop -- clock.service\n", readFile(calls()));
}

TEST_F(Systemctl, StopsADaemonThatIsOutsideOfItsUnit) {
    start();

    EXPECT_EQ("clock has stopped.\n", toolWith("true", {"stop", "clock"}).output);
    EXPECT_EQ(3, status());
}

TEST_F(Systemctl, IsFollowedByForceOnlyWhenToldTo) {
    start({{"CLOCK_IGNORES_STOP", "1"}});
    std::string const name = process(servicePID());

    EXPECT_EQ(2, toolWith("exec sleep 1000", {"stop", "clock", "--timeout=0"}).status);
    EXPECT_EQ(0, status());
    EXPECT_EQ("clock did not stop and was ended by force " + name + ".\n",
              toolWith("exec sleep 1000", {"stop", "clock", "--timeout=0", "--kill"}).output);
}

TEST_F(Systemctl, StartsTheUnitAgain) {
    start();
    pid_t const before = servicePID();

    Outcome const outcome = toolWith(DMN_SERVICE " $1 >/dev/null", {"restart", "clock"});

    EXPECT_EQ(0, outcome.status) << outcome.errors;
    EXPECT_EQ("clock has stopped.\n" + running(), outcome.output);
    EXPECT_NE(before, servicePID());
}

} // namespace test
