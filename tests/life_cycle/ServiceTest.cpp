#include "ServiceLife.h"

#include "support/Obstacles.h"
#include "support/SilentFileSystem.h"
#include "support/cases.h"
#include "support/processInfo.h"

#include <gmock/gmock.h>

#include <memory>

#include <signal.h>

namespace {

using test::asUser;
using test::Outcome;
using test::Program;
using test::Words;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class ServiceTest : public test::ServiceFixture<test::AccountsTest> {
protected:
    /// Runs the service in the foreground and waits until it is up.
    std::unique_ptr<Program> runInForeground(Words const& words = {"run"}) const {
        auto program = std::make_unique<Program>(clock(here(words)));
        EXPECT_TRUE(test::await([&] { return daemonPID() == program->pid(); }));
        return program;
    }

    std::string owner(std::string const& path) const {
        return std::to_string(test::ownerOf(path)) + ":" + std::to_string(test::groupOf(path));
    }
};

// install

TEST_F(ServiceTest, InstallSaysWhatItDidAndWhatIsNext) {
    Outcome const outcome = runClock(here({"install"}));

    EXPECT_THAT(outcome.output,
                AllOf(HasSubstr("clock is installed.\n"), HasSubstr(script() + "\n"),
                      HasSubstr(m_controlFolder + "\n"), HasSubstr("Next:\n  " DMN_SERVICE " start\n")));
}

TEST_F(ServiceTest, InstallTakesThisExecutableWhenTheDescriptionNamesNone) {
    install();

    EXPECT_EQ(DMN_SERVICE "\n", test::run({script(), "printExePath"}).output);
}

TEST_F(ServiceTest, InstallOfADeletedExecutableIsRefused) {
    std::string const copy = m_folder.name("copy");
    std::filesystem::copy_file(DMN_SERVICE, copy);
    Program installing(
        {"sh", "-c",
         "exec 3<" + copy + "; rm " + copy + "; exec /proc/self/fd/3 install " + here({}).front()});

    Outcome const outcome = installing.wait();

    EXPECT_EQ(2, outcome.status);
    EXPECT_THAT(outcome.output, HasSubstr("This program's file is gone or was replaced: '" + copy));
    EXPECT_FALSE(std::filesystem::exists(script()));
}

TEST_F(ServiceTest, InstallMakesTheFolderForTheAccount) {
    install({"--runas=dmnuser"});

    EXPECT_EQ("61001:61001", owner(m_controlFolder));
    EXPECT_EQ(0755U, test::modeOf(m_controlFolder));
    start();
    EXPECT_EQ("61001 61001 61001 61001", test::statusOf(daemonPID(), "Uid"));
}

// Nothing in it can be known, not even that the daemon does not run.
class SilentFolderTest : public ServiceTest, public testing::WithParamInterface<char const*> {};

TEST_P(SilentFolderTest, IsNamedAndNobodyWaitsForIt) {
    if (!test::canMountFuse())
        DMN_SKIP_TEST("needs file systems of users");
    install({"--runas=dmnuser"});
    auto silent = std::make_unique<test::SilentFileSystem>(m_controlFolder, test::kUser);

    Program command(clock(here({GetParam()})));
    EXPECT_TRUE(test::await([&] { return hasEnded(command.pid()); }));
    silent.reset();

    Outcome const outcome = command.wait();
    EXPECT_NE(0, outcome.status);
    EXPECT_THAT(outcome.output,
                HasSubstr("'" + m_controlFolder + "' is on a file system that does not answer.\n"));
    EXPECT_TRUE(std::filesystem::exists(script()));
}

INSTANTIATE_TEST_SUITE_P(Commands, SilentFolderTest,
                         testing::Values("status", "check", "install", "start", "stop", "restart",
                                         "uninstall"));

// The socket is gone by then, and a program that the service starts would take it for its own.
TEST_F(ServiceTest, ServiceKeepsTheSocketOfItsStartToItself) {
    bringUp({{"CLOCK_RUN", "show-supervisor"}});

    EXPECT_TRUE(hasLogged("The environment has no supervisor."));
}

// Whoever owns the account chooses the name, which a terminal must not obey.
TEST_F(ServiceTest, StatusShowsNoControlCharactersOfTheExecutable) {
    std::string const copy = m_folder.name("cl\x1b[31m\nock");
    std::filesystem::copy_file(DMN_SERVICE, copy);
    Program const running({copy, "run", "--controlFolder=" + m_controlFolder});
    ASSERT_TRUE(awaitUp());

    EXPECT_THAT(runClock(here({"status", "--verbose"})).output, HasSubstr("/cl [31m ock\n"));
}

// Root would make a folder there, and give it to the account.
TEST_F(ServiceTest, StartMakesNoFolderWhereALinkOfTheAccountLeads) {
    std::string const home = m_folder.name("home");
    std::filesystem::create_directory(home);
    test::setOwner(home, test::kUser, test::kUser);
    m_controlFolder = home + "/run/clock";
    install({"--runas=dmnuser"});
    EXPECT_EQ("61001:61001", owner(m_controlFolder));
    std::filesystem::remove_all(home + "/run");
    std::filesystem::create_symlink("/etc", home + "/run");

    Outcome const outcome = runClock({"start"});

    EXPECT_EQ(2, outcome.status);
    EXPECT_THAT(outcome.output,
                HasSubstr("The account 'dmnuser' cannot make the control folder '" + m_controlFolder + "'"));
    EXPECT_FALSE(std::filesystem::exists("/etc/clock"));
}

// Others must not look into it.
TEST_F(ServiceTest, TransientFolderStaysWhatItIsAsTheControlFolder) {
    m_controlFolder = "/run/clocks";
    install({"--runas=dmnuser", "--transientFolderAppID=clocks", "--transientFolderGroup=dmnextra"});

    for (int boot = 0; boot < 2; ++boot) {
        start();
        EXPECT_EQ("61001:61003", owner(m_controlFolder));
        EXPECT_EQ(0750U, test::modeOf(m_controlFolder));
        EXPECT_EQ(0, runClock({"stop"}).status);
        std::filesystem::remove_all(m_controlFolder);
    }
}

TEST_F(ServiceTest, StartMakesTheFolderAgainWhereRootHasPutALink) {
    std::string const link = m_folder.name("link");
    std::filesystem::create_directory_symlink(".", link);
    m_controlFolder = link + "/clock";
    install({"--runas=dmnuser"});
    std::filesystem::remove(m_controlFolder);

    start();

    EXPECT_EQ("61001:61001", owner(m_controlFolder));
}

class RefusedInstallTest : public ServiceTest, public testing::WithParamInterface<Words> {};

TEST_P(RefusedInstallTest, WritesNothing) {
    Words words = GetParam();
    words.push_back("install");

    Outcome const outcome = runClock(words);

    EXPECT_EQ(2, outcome.status);
    EXPECT_THAT(outcome.output, HasSubstr("FATAL ERROR: "));
    EXPECT_THAT(test::entriesOf("/etc/init.d"), IsEmpty());
    EXPECT_THAT(test::entriesOf("/run"), Not(testing::Contains("clock")));
}

INSTANTIATE_TEST_SUITE_P(Options, RefusedInstallTest,
                         testing::Values(Words{"--controlFolder="}, Words{"--controlFolder=/run/clock x"},
                                         Words{"--controlFolder=/run/clock$x"},
                                         Words{"--controlFolder=/run/clock", "--runas=nobody-knows"},
                                         Words{"--controlFolder=/run/clock", "--transientFolderAppID=x",
                                               "--transientFolderGroup=nobody-knows"},
                                         Words{"--controlFolder=/run/clock", "--id=a/b"},
                                         Words{"--controlFolder=/run/clock",
                                               "--id=" + std::string(300, 'x')}));

TEST_F(ServiceTest, InstallRefusesAFolderThatTheAccountCannotWriteTo) {
    std::filesystem::create_directory(m_controlFolder);

    Outcome const outcome = runClock(here({"install", "--runas=dmnuser"}));

    EXPECT_EQ(2, outcome.status);
    EXPECT_EQ("\n\nFATAL ERROR: clock was not installed.\nThe account 'dmnuser' may not write to the control "
              "folder '" +
                  m_controlFolder + "'.\n  Remedy: chown dmnuser " + m_controlFolder + "\n\n\n",
              outcome.output);
    EXPECT_FALSE(std::filesystem::exists(script()));
}

TEST_F(ServiceTest, InstallWithAnotherFolderStopsTheDaemonThatRunsFirst) {
    bringUp();
    pid_t const before = daemonPID();
    std::string const old = m_controlFolder;
    m_controlFolder = m_folder.name("new");

    Outcome const outcome = runClock(here({"install"}));

    EXPECT_EQ(0, outcome.status);
    EXPECT_THAT(outcome.output,
                HasSubstr("clock is running with another control folder, '" + old + "' " + process(before)));
    EXPECT_TRUE(hasEnded(before));
}

TEST_F(ServiceTest, InstallWithAnotherFolderThatFailsLeavesTheDaemonRunning) {
    std::string const home = m_folder.name("home"); // a link of the account may lead anywhere
    std::filesystem::create_directory(home);
    test::setOwner(home, test::kUser, test::kUser);
    std::filesystem::create_symlink("/etc", home + "/run");
    bringUp();
    pid_t const before = daemonPID();

    Outcome const outcome =
        runClock({"install", "--runas=dmnuser", "--controlFolder=" + home + "/run/clock"});
    {
        test::ReadOnlyFolder const etc("/etc");
        EXPECT_EQ(2, runClock({"install", "--controlFolder=" + m_folder.name("new")}).status);
    }

    EXPECT_EQ(2, outcome.status);
    EXPECT_THAT(outcome.output, HasSubstr("cannot make the control folder"));
    EXPECT_FALSE(hasEnded(before));
    EXPECT_EQ(0, status());
}

TEST_F(ServiceTest, InstallWithTheSameFolderLeavesTheDaemonRunningAndNamesTheRestart) {
    bringUp();
    pid_t const before = daemonPID();

    Outcome const outcome = runClock(here({"install"}));

    EXPECT_THAT(outcome.output, HasSubstr("Next:\n  " DMN_SERVICE " restart\n"));
    EXPECT_EQ(before, daemonPID());
    EXPECT_FALSE(hasEnded(before));
}

TEST_F(ServiceTest, InstallWithAnotherNameOfTheSameFolderLeavesTheDaemonRunning) {
    bringUp();
    pid_t const before = daemonPID();
    std::filesystem::create_directory_symlink(m_controlFolder, m_folder.name("link"));

    EXPECT_EQ(0, runClock({"install", "--controlFolder=" + m_folder.name("link")}).status);

    EXPECT_FALSE(hasEnded(before));
}

TEST_F(ServiceTest, InstallWithAnotherFolderIsRefusedWhileADaemonMayRunInTheOldOne) {
    install();
    std::filesystem::remove_all(m_controlFolder);
    std::filesystem::create_symlink(m_controlFolder, m_controlFolder); // which no look gets through

    Outcome const outcome = runClock({"--controlFolder=" + m_folder.name("new"), "install"});

    EXPECT_EQ(2, outcome.status);
    EXPECT_THAT(
        outcome.output,
        HasSubstr("FATAL ERROR: clock was not installed: it may be running with another control folder, '" +
                  m_controlFolder + "'."));
    EXPECT_THAT(runClock({"status", "--verbose"}).output, HasSubstr(m_controlFolder));
}

TEST_F(ServiceTest, InstallKeepsTheLogLevelForTheDaemon) {
    install({"--log-level=error"});
    m_log.clear();

    start();

    EXPECT_EQ("--log-level%3Derror\n", test::run({script(), "printParams"}).output);
    EXPECT_FALSE(hasLogged("Performing command 'daemon'"));
}

// start and stop

TEST_F(ServiceTest, ScriptStartsItAndIsDoneWhenItIsReady) {
    install();

    Outcome const outcome = test::run({script(), "start"}, test::Environment{{"LC_ALL", ""}, {"LANG", ""}});

    EXPECT_EQ(0, outcome.status);
    EXPECT_THAT(outcome.output, HasSubstr("\nclock is running " + process(daemonPID()) + ".\n"));
}

TEST_F(ServiceTest, ManyStartsAtOnceLaunchOne) {
    constexpr int kStarts = 20;
    install();
    std::vector<std::unique_ptr<Program>> starts;
    for (int i = 0; i < kStarts; ++i)
        starts.push_back(std::make_unique<Program>(clock({"start"})));

    int running = 0;
    for (auto const& program : starts) {
        Outcome const outcome = program->wait();
        EXPECT_EQ(0, outcome.status) << outcome.output;
        EXPECT_THAT(outcome.output, HasSubstr(process(daemonPID())));
        running += outcome.output.find("clock is running ") == std::string::npos ? 0 : 1;
    }

    EXPECT_EQ(1, running);
}

TEST_F(ServiceTest, StopReturnsWhenTheProcessIsGone) {
    bringUp();
    pid_t const before = daemonPID();

    EXPECT_EQ(0, runClock({"stop"}).status);

    EXPECT_TRUE(hasEnded(before));
    EXPECT_TRUE(hasLogged("waitStopped returned true. Daemon successfully stopped."));
}

TEST_F(ServiceTest, RestartReplacesTheProcess) {
    bringUp();
    pid_t const before = daemonPID();

    EXPECT_EQ(0, runClock({"restart"}).status);

    EXPECT_NE(before, daemonPID());
    EXPECT_TRUE(hasEnded(before));
    EXPECT_EQ(0, status());
}

TEST_F(ServiceTest, RestartOfAServiceThatIsNotInstalledLeavesItRunning) {
    auto const service = runInForeground();

    EXPECT_EQ(2, runClock(here({"restart"})).status);

    EXPECT_EQ(service->pid(), daemonPID());
}

TEST_F(ServiceTest, StartMakesAMissingFolderForTheAccount) {
    install({"--runas=dmnuser"});
    std::filesystem::remove(m_controlFolder);

    start();

    EXPECT_EQ("61001:61001", owner(m_controlFolder));
}

// Of a script, 2 would mean that the daemon is dead.
TEST_F(ServiceTest, StatusThatCannotBeToldIsUnknown) {
    Outcome const outcome = runClock(here({"--id=a/b", "status"}));

    EXPECT_EQ(4, outcome.status);
    EXPECT_THAT(outcome.output, HasSubstr("FATAL ERROR: "));
}

TEST_F(ServiceTest, StatusOfABadCommandLineIsUnknown) {
    install();

    EXPECT_EQ(4, runClock({"status", "--unknown"}).status);
    EXPECT_EQ(4, runClock({"status", "again"}).status);
}

TEST_F(ServiceTest, UninstallOfADeafServiceKeepsItInstalled) {
    bringUp({{"CLOCK_IGNORES_STOP", "1"}});

    EXPECT_EQ(2, runClock({"uninstall", "--timeout=1"}).status);

    EXPECT_TRUE(std::filesystem::exists(script()));
}

TEST_F(ServiceTest, StopByForceNamesTheProcess) {
    bringUp({{"CLOCK_IGNORES_STOP", "1"}});
    std::string const name = process(daemonPID());

    Outcome const outcome = runClock({"stop", "--kill", "--timeout=0"});

    EXPECT_EQ("clock did not stop and was ended by force " + name + ".\n", outcome.output);
}

TEST_F(ServiceTest, RemedyForADeafServiceNamesItAsTheUserDid) {
    ASSERT_EQ(0, runClock(here({"install", "--id=my.clock"})).status);
    ASSERT_EQ(0, runClock({"start", "--id=my.clock"}, {{"CLOCK_IGNORES_STOP", "1"}}).status);
    std::string const remedy = DMN_SERVICE " stop --kill --id=my.clock --controlFolder=" + m_controlFolder;

    EXPECT_THAT(runClock(here({"stop", "--id=my.clock", "--timeout=0"})).output,
                HasSubstr("\n  Remedy: " + remedy + "\n"));

    EXPECT_EQ(0, test::run({"sh", "-c", remedy + " --timeout=0"}).status);
}

// check

TEST_F(ServiceTest, CheckFindsNothingWhenAllIsWell) {
    m_controlFolder = "/var/log/clock-data";
    install();

    Outcome const outcome = runClock({"check"});

    EXPECT_EQ(0, outcome.status) << outcome.output;
    EXPECT_EQ("clock: nothing found.\n", outcome.output);
}

TEST_F(ServiceTest, CheckAcceptsAMissingFolderThatStartMakes) {
    m_controlFolder = "/var/log/clock-data";
    install();
    std::filesystem::remove(m_controlFolder);

    EXPECT_EQ("clock: nothing found.\n", runClock({"check"}).output);

    start();
}

// Looking

class LookingCommandTest : public ServiceTest, public testing::WithParamInterface<char const*> {};

TEST_P(LookingCommandTest, MakesNoFolder) {
    runClock(here({GetParam()}));

    EXPECT_FALSE(std::filesystem::exists(m_controlFolder));
}

INSTANTIATE_TEST_SUITE_P(Commands, LookingCommandTest,
                         testing::Values("status", "check", "stop", "start", "restart", "uninstall",
                                         "nothing", "unknown"));

TEST_F(ServiceTest, LogTellsTheRealExitStatus) {
    EXPECT_EQ(1, runClock({"check"}).status);
    EXPECT_TRUE(hasLogged("Finished command. Returning exit code 1."));

    EXPECT_EQ(4, runClock({"status"}).status);
    EXPECT_TRUE(hasLogged("Finished command. Returning exit code 4."));
}

TEST_F(ServiceTest, StatusTellsProcessAndSettings) {
    bringUp();

    std::string const output = runClock({"status", "--verbose"}).output;

    EXPECT_THAT(output, HasSubstr("  Control folder:  " + m_controlFolder + "\n"));
    EXPECT_THAT(output, HasSubstr("  Program:         " DMN_SERVICE "\n"));
    EXPECT_THAT(output, HasSubstr("  Account:         root\n"));
    EXPECT_THAT(output, AllOf(HasSubstr("\n  Since: "), HasSubstr("\n  Memory: ")));
    EXPECT_THAT(output, HasSubstr("  Log:             " + m_log.path() + "\n"));
}

// run

TEST_F(ServiceTest, RunShowsTheLogOnStandardErrorAndNothingElse) {
    auto const service = runInForeground();

    service->sendSignal(SIGTERM);

    Outcome const outcome = service->wait();
    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("", outcome.output);
    EXPECT_THAT(outcome.errors, HasSubstr("Finished command. Returning exit code 0."));
    EXPECT_TRUE(hasLogged("Finished command. Returning exit code 0."));
}

TEST_F(ServiceTest, DaemonShowsNothing) {
    auto const service = runInForeground({"daemon"});

    service->sendSignal(SIGTERM);

    Outcome const outcome = service->wait();
    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("", outcome.output + outcome.errors);
}

TEST_F(ServiceTest, InterruptStopsTheForegroundCleanly) {
    auto const service = runInForeground();

    service->sendSignal(SIGINT);

    EXPECT_EQ(0, service->wait().status);
    EXPECT_FALSE(std::filesystem::exists(pidFile()));
}

TEST_F(ServiceTest, SecondInterruptEndsTheForegroundAtOnce) {
    Program service(clock(here({"run"})), {{"CLOCK_IGNORES_STOP", "1"}});
    ASSERT_TRUE(awaitUp());
    service.sendSignal(SIGINT);
    ASSERT_TRUE(test::await([&] {
        return (std::stoull(test::statusOf(service.pid(), "SigCgt"), nullptr, 16) & (1U << (SIGINT - 1))) ==
               0;
    }));

    service.sendSignal(SIGINT);

    EXPECT_EQ(SIGINT, service.wait().signal);
}

class ReloadTest : public ServiceTest, public testing::WithParamInterface<char const*> {};

TEST_P(ReloadTest, HangupReloadsAndTheServiceGoesOn) {
    auto const service = runInForeground({GetParam()});
    ASSERT_TRUE(test::awaitSleep(service->pid()));

    service->sendSignal(SIGHUP);

    EXPECT_TRUE(test::await([this] { return hasLogged("The clock has read its settings."); }));
    service->sendSignal(SIGTERM);
    EXPECT_EQ(0, service->wait().status);
}

INSTANTIATE_TEST_SUITE_P(Commands, ReloadTest, testing::Values("run", "daemon"));

TEST_F(ServiceTest, SecondRunSaysHowToStopTheFirst) {
    auto const service = runInForeground();

    Outcome const outcome = runClock(here({"run"}));

    EXPECT_EQ(2, outcome.status);
    EXPECT_THAT(outcome.output,
                HasSubstr("' is held by process " + std::to_string(service->pid()) +
                          ". To stop it: " DMN_SERVICE " stop --controlFolder=" + m_controlFolder));
}

// Signals to management commands

class ManagementSignalTest : public ServiceTest, public testing::WithParamInterface<int> {};

TEST_P(ManagementSignalTest, EndsTheCommand) {
    Program command(clock({"hang"}));
    ASSERT_TRUE(test::await([this] { return hasLogged("Performing command 'hang'"); }));

    command.sendSignal(GetParam());

    EXPECT_EQ(GetParam(), command.wait().signal);
}

INSTANTIATE_TEST_SUITE_P(Signals, ManagementSignalTest, testing::Values(SIGTERM, SIGINT));

TEST_F(ServiceTest, SignalBeforeTheCommandIsKnownEndsAManagementCommand) {
    EXPECT_EQ(SIGTERM, runClock({"hang"}, {{"CLOCK_EARLY_SIGNAL", "1"}}).signal);
}

TEST_F(ServiceTest, SignalBeforeTheCommandIsKnownStopsTheDaemonCleanly) {
    Outcome const outcome = runClock(here({"daemon"}), {{"CLOCK_EARLY_SIGNAL", "1"}});

    EXPECT_EQ(0, outcome.status);
    EXPECT_TRUE(hasLogged("Finished command. Returning exit code 0."));
}

// Other front ends

TEST_F(ServiceTest, DaemonWithThePlainFrontEndIsAwaitedAsWell) {
    ASSERT_EQ(0, test::run({DMN_TEST_DAEMON, "install", "--controlFolder=" + m_controlFolder}).status);

    Outcome const outcome = runClock({"--id=testd", "start"});

    EXPECT_EQ(0, outcome.status);
    EXPECT_THAT(outcome.output, AllOf(HasSubstr("testd: Initializing: 1 step done\n"),
                                      HasSubstr("testd is running (process ")));
    EXPECT_EQ(0, runClock({"--id=testd", "stop"}).status);
}

TEST_F(ServiceTest, FailureOfADaemonWithThePlainFrontEndIsToldAsWell) {
    ASSERT_EQ(0, test::run({DMN_TEST_DAEMON, "install", "--controlFolder=" + m_controlFolder}).status);

    Outcome const outcome = runClock({"--id=testd", "start"}, {{"TEST_DAEMON", "daemon.init=throw"}});

    EXPECT_EQ(2, outcome.status);
    EXPECT_THAT(outcome.output, HasSubstr("has not come up: Thrown in daemon.init."));
}

// A reader of what they print

TEST_F(ServiceTest, RestartIntoAPipeWithoutAReaderStartsTheServiceAgain) {
    bringUp();
    pid_t const before = daemonPID();

    test::run({"bash", "-c", "exec {pipe}> >(:); wait $!; exec >&$pipe; exec " DMN_SERVICE " restart"});

    EXPECT_EQ(0, status());
    EXPECT_NE(before, daemonPID());
}

} // namespace
