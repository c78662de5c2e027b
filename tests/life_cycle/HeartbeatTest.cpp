#include "LifeCycle.h"

#include "support/processInfo.h"

#include <gmock/gmock.h>

#include <filesystem>

#include <signal.h>

namespace {

using test::Outcome;
using test::Program;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

class HeartbeatTest : public test::LifeCycleFixture<test::PrivateRootTest> {};

// Installing

TEST_F(HeartbeatTest, InstallMakesAScriptAndLinksAndUninstallLeavesNothing) {
    install();
    EXPECT_EQ(0755U, test::modeOf(script()));
    for (char const* const level : {"2", "3", "4", "5"})
        EXPECT_THAT(test::entriesOf(std::string("/etc/rc") + level + ".d"), ElementsAre("S90heartbeat"));
    for (char const* const level : {"0", "6"})
        EXPECT_THAT(test::entriesOf(std::string("/etc/rc") + level + ".d"), ElementsAre("K10heartbeat"));

    Outcome const outcome = runHeartbeat({"uninstall"});

    EXPECT_EQ(0, outcome.status);
    for (char const* const folder : {"init", "rc0", "rc1", "rc2", "rc3", "rc4", "rc5", "rc6"})
        EXPECT_THAT(test::entriesOf(std::string("/etc/") + folder + ".d"), IsEmpty()) << folder;
}

TEST_F(HeartbeatTest, UninstallStopsTheRunningDaemon) {
    install();
    start();

    Outcome const outcome = runHeartbeat({"uninstall"});

    EXPECT_EQ(0, outcome.status);
    EXPECT_TRUE(test::await([this] { return !std::filesystem::exists(pidFile()); }));
    EXPECT_EQ("stopped", beats().back());
}

TEST_F(HeartbeatTest, UninstallTwiceSucceeds) {
    install();

    EXPECT_EQ(0, runHeartbeat({"uninstall"}).status);
    EXPECT_EQ(0, runHeartbeat({"uninstall"}).status);
}

TEST_F(HeartbeatTest, InstallAgainTakesTheNewSettings) {
    install({"--message=first"});

    install({"--message=second"});

    EXPECT_EQ("--interval%3D5 --message%3Dsecond\n", runScript({"printParams"}).output);
}

// The script

TEST_F(HeartbeatTest, ScriptStartsAndStopsTheDaemon) {
    install();

    Outcome const started = runScript({"start"});
    EXPECT_TRUE(awaitUp());
    Outcome const stopped = runScript({"stop"});

    EXPECT_THAT(started.output,
                AllOf(StartsWith("Starting Heartbeat... \n"), HasSubstr("\nheartbeat is running ")));
    EXPECT_EQ("Stopping Heartbeat... \nheartbeat has stopped.\n", stopped.output);
    EXPECT_EQ("", started.errors + stopped.errors);
    EXPECT_EQ(0, started.status + stopped.status);
    EXPECT_EQ(3, status());
}

TEST_F(HeartbeatTest, BootStartsItThroughTheLinkAndHaltStopsIt) {
    install();

    EXPECT_EQ(0, test::run({"/etc/rc2.d/S90heartbeat", "start"}, test::bootEnvironment).status);
    EXPECT_TRUE(awaitUp());
    EXPECT_EQ(0, test::run({"/etc/rc0.d/K10heartbeat", "stop"}, test::bootEnvironment).status);

    EXPECT_EQ(3, status());
}

class HeartbeatRestartTest : public HeartbeatTest, public testing::WithParamInterface<char const*> {};

TEST_P(HeartbeatRestartTest, ScriptReplacesTheRunningDaemon) {
    install();
    start();
    pid_t const before = daemonPID();

    Outcome const outcome = runScript({GetParam()});

    EXPECT_EQ(0, outcome.status);
    EXPECT_THAT(outcome.output, AllOf(StartsWith("Restarting Heartbeat: \nheartbeat has stopped.\n"),
                                      HasSubstr("\nheartbeat is running ")));
    EXPECT_EQ("", outcome.errors);
    EXPECT_TRUE(awaitUp());
    EXPECT_NE(before, daemonPID());
}

TEST_P(HeartbeatRestartTest, ScriptStartsADaemonThatDoesNotRun) {
    install();

    Outcome const outcome = runScript({GetParam()});

    EXPECT_EQ(0, outcome.status);
    EXPECT_TRUE(awaitUp());
}

INSTANTIATE_TEST_SUITE_P(Verbs, HeartbeatRestartTest, testing::Values("restart", "force-reload"));

TEST_F(HeartbeatTest, ScriptPrintsTheSettings) {
    install({"--runas=dmnuser", "--transientFolderAppID=app", "--transientFolderGroup=dmnextra",
             "--interval=7", "--message=\xC3\xBC b"});

    EXPECT_EQ(controlFolder() + "\n", runScript({"printControlFolder"}).output);
    EXPECT_EQ("dmnuser\n", runScript({"printRunAs"}).output);
    EXPECT_EQ("app\n", runScript({"printTransientFolderAppID"}).output);
    EXPECT_EQ("dmnextra\n", runScript({"printTransientFolderGroup"}).output);
    EXPECT_EQ(DMN_HEARTBEAT "\n", runScript({"printExePath"}).output);
    EXPECT_EQ("--interval%3D7 --message%3D%C3%BC%20b\n", runScript({"printParams"}).output);
}

class HeartbeatUsageTest : public HeartbeatTest, public testing::WithParamInterface<test::Words> {};

TEST_P(HeartbeatUsageTest, ScriptAnswersOtherVerbsWithItsUsage) {
    install();

    Outcome const outcome = runScript(GetParam());

    EXPECT_EQ(1, outcome.status);
    EXPECT_EQ("", outcome.output);
    EXPECT_EQ("Usage: /etc/init.d/heartbeat {start|stop|restart|force-reload}\n", outcome.errors);
}

INSTANTIATE_TEST_SUITE_P(Verbs, HeartbeatUsageTest,
                         testing::Values(test::Words{}, test::Words{"status"}, test::Words{"START"},
                                         test::Words{"printNothing"}));

// Running

TEST_F(HeartbeatTest, RunParametersWithABlankAndAnUmlautArrive) {
    install({"--interval=3600", "--message=gr\xC3\xBC\xC3\x9F dich"});

    start();

    EXPECT_TRUE(test::await([this] { return beats().size() == 2; }));
    EXPECT_THAT(beats(), ElementsAre("started", "gr\xC3\xBC\xC3\x9F dich"));
}

TEST_F(HeartbeatTest, RunParametersArriveAtBoot) {
    install({"--interval=3600", "--message=gr\xC3\xBC\xC3\x9F dich"});

    runScript({"start"}, test::bootEnvironment);

    EXPECT_TRUE(test::await([this] { return beats().size() == 2; }));
    EXPECT_THAT(beats(), Contains("gr\xC3\xBC\xC3\x9F dich"));
}

TEST_F(HeartbeatTest, StatusIs4WhenNotInstalled) {
    Outcome const outcome = test::run({DMN_HEARTBEAT, "status"});

    EXPECT_EQ(4, outcome.status);
    EXPECT_EQ("heartbeat is not installed.\n", outcome.output);
}

TEST_F(HeartbeatTest, StatusIs3WhenStopped) {
    install();

    Outcome const outcome = test::run({DMN_HEARTBEAT, "status"});

    EXPECT_EQ(3, outcome.status);
    EXPECT_EQ("heartbeat does not run.\n", outcome.output);
}

TEST_F(HeartbeatTest, StatusIs0WhenRunningAndNamesTheProcess) {
    install();
    start();

    Outcome const outcome = test::run({DMN_HEARTBEAT, "status"});

    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("heartbeat is running (process " + std::to_string(daemonPID()) + ").\n", outcome.output);
}

TEST_F(HeartbeatTest, KilledDaemonHasStatus1AndCanBeStartedAgain) {
    install();
    start();
    pid_t const killed = daemonPID();

    kill(killed, SIGKILL);

    EXPECT_TRUE(test::await([this] { return status() == 1; }));
    EXPECT_EQ("heartbeat is dead: it has left its PID file '" + pidFile() + "' behind.\n",
              runHeartbeat({"status"}).output);
    start();
    EXPECT_NE(killed, daemonPID());
}

TEST_F(HeartbeatTest, StopOfAKilledDaemonSucceeds) {
    install();
    start();
    kill(daemonPID(), SIGKILL);
    ASSERT_TRUE(test::await([this] { return status() == 1; }));

    EXPECT_EQ(0, runHeartbeat({"stop"}).status);
}

TEST_F(HeartbeatTest, StopOfADaemonThatDoesNotRunSucceeds) {
    install();

    EXPECT_EQ(0, runHeartbeat({"stop"}).status);
}

TEST_F(HeartbeatTest, StopOfADaemonThatIsNotInstalledAwaitsItsEnd) {
    Program daemon(heartbeat({"run"}));
    ASSERT_TRUE(test::await([this] { return !beats().empty(); }));
    daemon.sendSignal(SIGSTOP);
    ASSERT_TRUE(test::await([&] { return test::statusOf(daemon.pid(), "State") == "T (stopped)"; }));

    EXPECT_EQ(2, runHeartbeat({"--timeout=1", "stop"}).status);

    EXPECT_TRUE(std::filesystem::exists(pidFile()));
    daemon.sendSignal(SIGCONT);
    EXPECT_EQ(0, daemon.wait().status);
}

TEST_F(HeartbeatTest, SecondStartLeavesTheRunningDaemonAlone) {
    install({"--interval=1"});
    start();
    std::string const content = test::readFile(pidFile());

    EXPECT_EQ(0, runHeartbeat({"start"}).status);

    EXPECT_EQ(content, test::readFile(pidFile()));
    EXPECT_EQ(0, status());
    std::size_t const before = beats().size();
    EXPECT_TRUE(test::await([&] { return beats().size() > before; }));
}

TEST_F(HeartbeatTest, StopIsPromptEvenWithALongInterval) {
    install({"--interval=3600"});
    start();

    Outcome const outcome = runHeartbeat({"--timeout=20", "stop"});

    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("stopped", beats().back());
}

TEST_F(HeartbeatTest, ForegroundRunEndsWithStatus0OnSIGTERM) {
    Program daemon(heartbeat({"run"}));
    ASSERT_TRUE(awaitUp());

    daemon.sendSignal(SIGTERM);

    Outcome const outcome = daemon.wait();
    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("", outcome.output);
    EXPECT_EQ("Finished command. Returning exit code 0.", m_log.entries().back());
    EXPECT_FALSE(std::filesystem::exists(pidFile()));
}

TEST_F(HeartbeatTest, StartedDaemonIsDetached) {
    install();
    start();

    pid_t const daemon = daemonPID();

    for (int const stream : {0, 1, 2})
        EXPECT_EQ("/dev/null", test::openFileOf(daemon, stream));
    EXPECT_NE(getsid(0), getsid(daemon));
    EXPECT_NE(daemon, getsid(daemon)) << "A session leader could get a terminal.";
    EXPECT_EQ(controlFolder(), test::currentFolderOf(daemon));
}

TEST_F(HeartbeatTest, RunningDaemonListensNowhere) {
    install({"--interval=3600"});
    start();
    ASSERT_TRUE(test::await([this] { return beats().size() == 2; })); // It opens nothing after that.

    pid_t const daemon = daemonPID();

    for (int const descriptor : test::descriptorsOf(daemon))
        EXPECT_THAT(test::openFileOf(daemon, descriptor), Not(HasSubstr("socket:")));
    EXPECT_THAT(test::readFile("/proc/" + std::to_string(daemon) + "/maps"),
                AllOf(Not(HasSubstr("/dev/shm")), Not(HasSubstr("/SYSV"))));
}

TEST_F(HeartbeatTest, DaemonWhosePIDFileWasDeletedKeepsNoOtherFromStarting) {
    install();
    start();
    pid_t const first = daemonPID();
    std::filesystem::remove(pidFile());

    start();

    EXPECT_NE(first, daemonPID());
    EXPECT_EQ(0, kill(first, SIGTERM));
    EXPECT_TRUE(test::await([&] { return kill(first, 0) != 0; }));
    EXPECT_EQ(0, status());
}

// Control folders

TEST_F(HeartbeatTest, ControlFolderWithAnUmlautWorksFromATerminalAndAtBoot) {
    m_controlFolder = m_folder.name("\xC3\xBC");
    install();

    EXPECT_EQ(0, runScript({"start"}, test::bootEnvironment).status);
    EXPECT_TRUE(awaitUp());
    EXPECT_EQ(0, runScript({"stop"}, {{"LC_ALL", "C"}}).status);

    EXPECT_EQ(3, status());
    EXPECT_THAT(test::entriesOf(m_folder.name()), ElementsAre("\xC3\xBC"));
}

// The example's own options

class HeartbeatIntervalTest : public HeartbeatTest, public testing::WithParamInterface<char const*> {};

TEST_P(HeartbeatIntervalTest, OutOfRangeIsRefused) {
    Outcome const outcome = runHeartbeat({std::string("--interval=") + GetParam(), "run"});

    EXPECT_EQ(255, outcome.status);
    EXPECT_THAT(outcome.output, HasSubstr("Error: the interval must be "));
    EXPECT_EQ("", outcome.errors);
}

INSTANTIATE_TEST_SUITE_P(Values, HeartbeatIntervalTest,
                         testing::Values("0", "-1", "86401", "4294967296", "9223372036854775807",
                                         "99999999999999999999", "abc", "5s", ""));

TEST_F(HeartbeatTest, LastShowsTheLastBeat) {
    install({"--interval=3600", "--message=tick"});
    start();
    ASSERT_TRUE(test::await([this] { return beats().size() == 2; }));

    EXPECT_THAT(runHeartbeat({"last"}).output, testing::EndsWith(" tick\n"));
}

// The other example

using Minimal = test::InitLayoutFixture<test::PrivateRootTest>;

TEST_F(Minimal, RunsThroughItsLife) {
    test::TemporaryFolder const folder;
    std::string const option = "--controlFolder=" + folder.name();
    auto const minimal = [](test::Words words) {
        words.insert(words.begin(), DMN_MINIMAL);
        return test::run(words).status;
    };

    EXPECT_EQ(0, minimal({option, "install"}));
    EXPECT_EQ(0, minimal({"start"}));
    EXPECT_TRUE(test::await([&] { return std::filesystem::exists(folder.name("minimal.pid")); }));
    EXPECT_EQ(0, minimal({"stop"}));
    EXPECT_FALSE(std::filesystem::exists(folder.name("minimal.pid")));
    EXPECT_EQ(0, minimal({"uninstall"}));
}

} // namespace
