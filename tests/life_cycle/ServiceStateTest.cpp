#include "ServiceLife.h"

#include "support/Obstacles.h"
#include "support/sanitizer.h"

#include <gmock/gmock.h>

#include <functional>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include <signal.h>

// Each command of a service in each state that it can be found in.

namespace {

using test::Outcome;
using test::Words;
using testing::HasSubstr;

struct Case {
    char const* state;
    char const* command; ///< with its options
    int status;
    char const* text; ///< a part of what it prints
};

void PrintTo(Case const& tried, std::ostream* stream) {
    *stream << tried.state << ": " << tried.command;
}

class ServiceStateTest : public test::ServiceFixture<test::AccountsTest>,
                         public testing::WithParamInterface<Case> {
protected:
    void enter(std::string const& state) {
        static std::map<std::string, void (ServiceStateTest::*)()> const ways{
            {"not installed", &ServiceStateTest::leaveUninstalled},
            {"stopped", &ServiceStateTest::becomeStopped},
            {"starting", &ServiceStateTest::becomeStarting},
            {"running", &ServiceStateTest::becomeRunning},
            {"running without a script", &ServiceStateTest::becomeRunningWithoutScript},
            {"dead", &ServiceStateTest::becomeDead},
            {"deaf", &ServiceStateTest::becomeDeaf},
            {"script damaged", &ServiceStateTest::damageScript},
            {"script not executable", &ServiceStateTest::closeScript},
            {"account gone", &ServiceStateTest::loseAccount},
            {"folder gone", &ServiceStateTest::loseFolder},
            {"disk full", &ServiceStateTest::fillDisk},
            {"shell broken", &ServiceStateTest::breakShell},
        };
        (this->*ways.at(state))();
    }

private:
    void leaveUninstalled() {}

    void becomeStopped() { install(); }

    void becomeStarting() {
        install();
        ASSERT_EQ(0, runClock({"start", "--no-wait"}, {{"CLOCK_INIT", "hang"}}).status);
        ASSERT_TRUE(awaitUp());
    }

    void becomeRunning() { bringUp(); }

    void becomeRunningWithoutScript() {
        bringUp();
        std::filesystem::remove(script());
    }

    void becomeDead() {
        bringUp();
        kill(daemonPID(), SIGKILL);
        ASSERT_TRUE(test::await([this] { return status() == 1; }));
    }

    void becomeDeaf() { bringUp({{"CLOCK_IGNORES_STOP", "1"}}); }

    void damageScript() {
        bringUp();
        test::writeFile(script(), "#!/bin/sh\nfi\n");
    }

    void closeScript() {
        install();
        test::setMode(script(), 0644);
    }

    void loseAccount() {
        install();
        std::string text = test::readFile(script());
        std::string const unset = "RUNAS=\"\"";
        text.replace(text.find(unset), unset.size(), "RUNAS=\"nobody-knows\"");
        test::writeFile(script(), text);
    }

    void loseFolder() {
        install();
        std::filesystem::remove(m_controlFolder);
    }

    void fillDisk() {
        install();
        m_full = std::make_unique<test::FullFolder>(m_controlFolder);
    }

    // The folder, which each start makes again, is gone as well.
    void breakShell() {
        loseFolder();
        m_shell = std::make_unique<test::BrokenShell>();
    }

    std::unique_ptr<test::FullFolder> m_full;
    std::unique_ptr<test::BrokenShell> m_shell;
};

TEST_P(ServiceStateTest, CommandTellsTheTruth) {
    enter(GetParam().state);
    std::istringstream line(GetParam().command);
    Words words{std::istream_iterator<std::string>(line), {}};
    for (std::string& word : words) {
        if (word == "--controlFolder")
            word += "=" + m_controlFolder;
    }

    Outcome const outcome = runClock(words);

    EXPECT_EQ(GetParam().status, outcome.status);
    EXPECT_THAT(outcome.output, HasSubstr(GetParam().text));
    // The shell may complain of a damaged script.
    EXPECT_THAT(outcome.errors, testing::AnyOf("", testing::StartsWith(script() + ": ")));
}

constexpr Case kCases[] = {
    {"not installed", "status", 4, "clock is not installed.\n"},
    {"not installed", "start", 2,
     "clock is not installed: there is no '/etc/init.d/clock'. Install it first: "},
    {"not installed", "stop", 2, "clock is not installed."},
    {"not installed", "stop --controlFolder", 0, "clock does not run.\n"},
    {"not installed", "restart", 2, "clock is not installed: "},
    {"not installed", "check", 1,
     "The daemon 'clock' is not installed.\n  Remedy: " DMN_SERVICE " install --controlFolder=FOLDER\n"},
    {"not installed", "uninstall", 0, "clock is not installed.\n"},
    {"stopped", "status", 3, "clock does not run.\n"},
    {"stopped", "status --verbose", 3, "/etc/init.d/clock\n"},
    {"stopped", "start", 0, "clock: Winding up\n"},
    {"stopped", "start", 0, "\nclock is running (process "},
    {"stopped", "start --no-wait", 0, ""},
    {"stopped", "stop", 0, "clock does not run.\n"},
    {"stopped", "restart", 0, "\nclock is running (process "},
    {"stopped", "uninstall", 0, "clock is uninstalled.\n"},
    {"starting", "status", 0, "clock is running (process "},
    {"starting", "start --timeout=1", 0, "clock runs already (process "},
    {"starting", "stop --timeout=1", 2,
     " has not ended after 1 second and goes on.\n  Remedy: " DMN_SERVICE " stop --kill\n"},
    {"starting", "stop --timeout=1 --kill", 0, "clock did not stop and was ended by force (process "},
    {"starting", "restart --timeout=1", 2, "has not ended"},
    {"starting", "uninstall --timeout=1", 2, "has not ended"},
    {"running", "status", 0, "clock is running (process "},
    {"running", "status --verbose", 0, "  Process: "},
    {"running", "start", 0, "clock runs already (process "},
    {"running", "stop", 0, "clock has stopped.\n"},
    {"running", "restart", 0, "clock has stopped.\n"},
    {"running", "install --controlFolder", 0, "clock is installed.\n"},
    {"running", "uninstall", 0, "clock has stopped.\nclock is uninstalled.\n"},
    {"running", "daemon --controlFolder", 2, "is held by process "},
    {"running without a script", "status --controlFolder", 0, ", but it is not installed.\n"},
    {"running without a script", "stop --controlFolder", 0, "clock has stopped.\n"},
    {"dead", "status", 1, "clock is dead: it has left its PID file '"},
    {"dead", "start", 0, "\nclock is running (process "},
    {"dead", "stop", 0, "clock does not run.\n"},
    {"dead", "restart", 0, "\nclock is running (process "},
    {"dead", "uninstall", 0, "clock is uninstalled.\n"},
    {"deaf", "status", 0, "clock is running (process "},
    {"deaf", "stop --timeout=1", 2, "has not ended"},
    {"deaf", "stop --timeout=1 --kill", 0, "clock did not stop and was ended by force (process "},
    {"deaf", "restart --timeout=1 --kill", 0, "\nclock is running (process "},
    {"deaf", "uninstall --timeout=1 --kill", 0, "clock is uninstalled.\n"},
    {"script damaged", "status", 4, "It is unknown whether clock runs: "},
    {"script damaged", "status --controlFolder", 0, "clock is running (process "},
    {"script damaged", "status --controlFolder --verbose", 0, "cannot be read: "},
    {"script damaged", "start", 2, "/etc/init.d/clock"},
    {"script damaged", "stop", 2, "/etc/init.d/clock"},
    {"script damaged", "stop --controlFolder", 0, "clock has stopped.\n"},
    {"script damaged", "restart", 2, "/etc/init.d/clock"},
    {"script damaged", "check", 1, "/etc/init.d/clock"},
    {"script damaged", "install --controlFolder", 0, "clock is installed.\n"},
    {"script damaged", "uninstall", 2, "/etc/init.d/clock"},
    {"script damaged", "uninstall --controlFolder", 0, "clock is uninstalled.\n"},
    {"script not executable", "start", 2, "may not be run.\n  Remedy: chmod a+x /etc/init.d/clock\n"},
    {"script not executable", "stop", 2, "may not be run.\n  Remedy: chmod a+x /etc/init.d/clock\n"},
    {"script not executable", "restart", 2, "may not be run.\n  Remedy: chmod a+x /etc/init.d/clock\n"},
    {"script not executable", "uninstall", 2, "may not be run.\n  Remedy: chmod a+x /etc/init.d/clock\n"},
    {"script not executable", "check", 1, "may not be run.\n  Remedy: chmod a+x /etc/init.d/clock\n"},
    {"account gone", "status", 3, "clock does not run.\n"},
    {"account gone", "start", 2, "nobody-knows"},
    {"account gone", "stop", 0, "clock does not run.\n"},
    {"account gone", "check", 1, "nobody-knows"},
    {"account gone", "uninstall", 0, "clock is uninstalled.\n"},
    {"folder gone", "status", 3, "clock does not run.\n"},
    {"folder gone", "start", 0, "\nclock is running (process "},
    {"folder gone", "stop", 0, "clock does not run.\n"},
    {"folder gone", "uninstall", 0, "clock is uninstalled.\n"},
    {"disk full", "status", 3, "clock does not run.\n"},
    {"disk full", "start", 2, "/clock.pid': No space left on device"},
    {"disk full", "stop", 0, "clock does not run.\n"},
    {"disk full", "daemon --controlFolder", 2, "No space left on device"},
    // The script's text says what it would print. What the plain front end does too runs the script, and so
    // does the check, because that is what it looks for.
    {"shell broken", "status --verbose", 3, "Control folder: "},
    {"shell broken", "status --verbose", 3, "Program: "},
    {"shell broken", "start", 0, "\nclock is running (process "},
    {"shell broken", "restart", 0, "\nclock is running (process "},
    {"shell broken", "stop", 0, "clock does not run.\n"},
    {"shell broken", "start --no-wait", 2, "has printed nothing for the setting"},
    {"shell broken", "uninstall", 2, "has printed nothing for the setting"},
    {"shell broken", "check", 1, "has printed nothing for the setting"},
};

INSTANTIATE_TEST_SUITE_P(States, ServiceStateTest, testing::ValuesIn(kCases));

class OtherUsersServiceTest : public test::ServiceFixture<test::AccountsTest>,
                              public testing::WithParamInterface<char const*> {};

TEST_P(OtherUsersServiceTest, CommandFailsForWantOfRootPrivileges) {
    bringUp();
    pid_t const process = daemonPID();

    Outcome const outcome = test::run(test::asUser("dmnuser", clock(here({GetParam()}))));

    EXPECT_EQ(2, outcome.status);
    EXPECT_EQ(
        "\n\nFATAL ERROR: The process does not have the necessary root privileges for this operation.\n\n\n",
        outcome.output);
    EXPECT_EQ(process, daemonPID());
    EXPECT_EQ(0, status());
}

INSTANTIATE_TEST_SUITE_P(Commands, OtherUsersServiceTest,
                         testing::Values("install", "uninstall", "start", "stop", "restart"));

TEST_F(OtherUsersServiceTest, StatusIsTold) {
    bringUp();

    Outcome const outcome = test::run(test::asUser("dmnuser", clock({"status", "--verbose"})));

    EXPECT_EQ(0, outcome.status);
    EXPECT_THAT(outcome.output, HasSubstr("clock is running " + process(daemonPID()) + ".\n"));
}

TEST_F(OtherUsersServiceTest, CheckLooksWithTheirRights) {
    m_controlFolder = "/var/log/clock-data";
    install();
    Words const check = test::asUser("dmnuser", clock({"check"}));

    EXPECT_EQ("clock: nothing found.\n", test::run(check).output);

    test::setMode(script(), 0744);
    Outcome const outcome = test::run(check);
    EXPECT_EQ(1, outcome.status);
    EXPECT_EQ("The init script '/etc/init.d/clock' may not be run.\n  Remedy: chmod a+x /etc/init.d/clock\n",
              outcome.output);
}

class FailingServiceTest : public test::ServiceFixture<test::PrivateRootTest> {};

struct Failure {
    char const* action;
    char const* text;  ///< a part of what start prints
    char const* entry; ///< a part of what the log has
};

void PrintTo(Failure const& failure, std::ostream* stream) {
    *stream << failure.action;
}

class FailingStartTest : public FailingServiceTest,
                         public testing::WithParamInterface<std::tuple<std::string, Failure>> {};

TEST_P(FailingStartTest, SaysWhy) {
    std::string const& place = std::get<0>(GetParam());
    Failure const& failure = std::get<1>(GetParam());
    install();
    test::Environment environment = test::withoutSanitizersHandlers();
    environment[place] = failure.action;

    Outcome const outcome = runClock({"start"}, environment);

    EXPECT_EQ(2, outcome.status);
    EXPECT_THAT(outcome.output, HasSubstr("FATAL ERROR: The daemon 'clock' has not come up"));
    EXPECT_THAT(outcome.output, HasSubstr(failure.text));
    EXPECT_EQ(outcome.output.find(failure.text), outcome.output.rfind(failure.text)); // once
    EXPECT_THAT(outcome.output, HasSubstr(m_log.path()));
    EXPECT_TRUE(test::await([&] { return hasLogged(failure.entry); }));
    EXPECT_NE(0, status());
}

INSTANTIATE_TEST_SUITE_P(Failures, FailingStartTest,
                         testing::Combine(testing::Values("CLOCK_INIT", "CLOCK_RUN"),
                                          testing::Values(Failure{"throw", "The clock has no hands.",
                                                                  "The clock has no hands."},
                                                          Failure{"throw-number", "SIGABRT",
                                                                  "nobody caught has ended the process: int"},
                                                          Failure{"segfault", "SIGSEGV", "SIGSEGV"},
                                                          Failure{"abort", "SIGABRT", "SIGABRT"})));

// A process that looks for leaks on its way out seems to have settled down.
std::vector<std::string> placesOfQuickExits() {
    std::vector<std::string> places{"CLOCK_INIT"};
    if (!test::kHasAddressSanitizer)
        places.emplace_back("CLOCK_RUN");
    return places;
}

INSTANTIATE_TEST_SUITE_P(Exits, FailingStartTest,
                         testing::Combine(testing::ValuesIn(placesOfQuickExits()),
                                          testing::Values(Failure{"exit", "status 3",
                                                                  "exit(3) was called in init() or run()"})));

TEST_F(FailingServiceTest, StartOfAServiceThatReturnsAtOnceFails) {
    install();

    Outcome const outcome = runClock({"start"}, {{"CLOCK_RUN", "return"}});

    EXPECT_EQ(2, outcome.status);
    EXPECT_THAT(outcome.output, HasSubstr("has not come up"));
}

TEST_F(FailingServiceTest, StartOfAServiceThatHangsNamesItsProcessAndItsLastWords) {
    install();

    Outcome const outcome = runClock({"start", "--timeout=1"}, {{"CLOCK_INIT", "hang"}});

    EXPECT_EQ(2, outcome.status);
    EXPECT_THAT(outcome.output, HasSubstr("Initializing: 1 step done"));
    EXPECT_THAT(outcome.output, HasSubstr("process " + std::to_string(daemonPID())));
    EXPECT_THAT(outcome.output, HasSubstr("\n  Remedy: " DMN_SERVICE " stop --kill\n"));
    EXPECT_EQ(0, runClock({"stop", "--kill", "--timeout=0"}).status);
}

} // namespace
