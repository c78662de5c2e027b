#include "BareEntry.h"
#include "TestDaemonTest.h"

#include "support/InitLayout.h"
#include "support/Obstacles.h"
#include "support/PrivateRoot.h"
#include "support/await.h"
#include "support/errors.h"
#include "support/fileInfo.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <functional>

#include <sys/syscall.h>
#include <unistd.h>

namespace {

using test::BareEntry;
using test::finished;
using test::Outcome;
using test::Program;
using testing::Contains;
using testing::ElementsAre;

constexpr char kScript[] = "/etc/init.d/testd";

template <class Base>
class ManagementFixture : public test::TestDaemonFixture<test::InitLayoutFixture<Base>> {
protected:
    void install() const { ASSERT_EQ(0, this->run(this->in({"install"})).status); }

    bool isRunning() const { return std::filesystem::exists(this->pidFile()); }

    /// Waits until the log holds the entry.
    bool awaitEntry(std::string const& entry) const {
        return test::await([&] {
            auto const entries = this->m_log.entries();
            return std::find(entries.begin(), entries.end(), entry) != entries.end();
        });
    }

    std::vector<std::string> lastEntries(std::ptrdiff_t count) const {
        auto const entries = this->m_log.entries();
        return {entries.end() - std::min(count, std::distance(entries.begin(), entries.end())),
                entries.end()};
    }

    /// Ends the daemon that was started and waits for its end.
    void stop() const {
        this->go();
        EXPECT_EQ(0, this->run(this->in({"stop"})).status);
    }
};

class ManagementTest : public ManagementFixture<test::PrivateRootTest> {};

class ManagementAccountsTest : public ManagementFixture<test::AccountsTest> {};

// The commands' own steps

class ManagementStepsTest : public ManagementTest {
protected:
    ManagementStepsTest() {
        m_entry->m_daemonId = "testd";
        m_entry->m_controlFolder = m_folder.path();
        m_entry->m_daemonInfo = fdn::newObj<dmn::CDaemonInfo>();
        m_entry->m_timeoutMs = 0;
        waitFor("testd");
    }

    /// Makes the commands manage, and wait for, the daemon with this ID.
    void waitFor(char const* id) {
        m_entry->m_controller = fdn::newObj<dmn::CDaemonController>(id, m_folder.path());
    }

    /// Expects the command, in a child, to give up when the time that the entry grants has passed, and not
    /// before.
    void expectToWaitInVain(std::function<void()> const& command) {
        std::chrono::milliseconds const shorter = waitInVain(command, 400);
        std::chrono::milliseconds const longer = waitInVain(command, 1600);

        EXPECT_GE(shorter.count(), 400);
        EXPECT_GE(longer.count(), 1600);
        EXPECT_LT(shorter.count() + 300, longer.count());
    }

    std::chrono::milliseconds waitInVain(std::function<void()> const& command, int timeoutMs) {
        m_entry->m_timeoutMs = timeoutMs;
        auto const begin = std::chrono::steady_clock::now();

        Outcome const outcome = test::runInChild(command);

        EXPECT_THAT(outcome.errors, testing::StartsWith("Timeout while waiting for daemon "));
        return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                                     begin);
    }

    fdn::P<BareEntry> m_entry = fdn::newObj<BareEntry>();
};

TEST_F(ManagementStepsTest, InstallLogsItsSuccessInItsOwnWords) {
    m_entry->doInstall();

    EXPECT_THAT(m_log.entries(),
                ElementsAre("Installing daemon 'testd'...", "Done installing daemon 'testd'.",
                            "waitInstalled returned true. Daemon successfully uninstalled."));
}

TEST_F(ManagementStepsTest, InstallWithTimeout0LooksOnceAndFailsWithTheTimeoutTexts) {
    waitFor("another");

    std::string const message = test::messageOf([this] { m_entry->doInstall(); });

    EXPECT_EQ("Timeout while waiting for daemon installation to finish.", message);
    EXPECT_THAT(m_log.entries(),
                ElementsAre("Installing daemon 'testd'...", "Done installing daemon 'testd'.",
                            "error: Timeout while waiting for daemon 'testd' installation to finish."));
}

TEST_F(ManagementStepsTest, InstallHandsTheOptionsToTheScript) {
    m_entry->m_runAs = "user";
    m_entry->m_runAsPassword = "secret";
    m_entry->m_transientFolderAppID = "app";
    m_entry->m_transientFolderGroup = "group";

    m_entry->doInstall();

    EXPECT_EQ("user", dmn::CDaemonController::getDaemonRunAs("testd"));
    EXPECT_EQ("app", dmn::CDaemonController::getDaemonTransientFolderAppID("testd"));
    EXPECT_EQ("group", dmn::CDaemonController::getDaemonTransientFolderGroup("testd"));
    EXPECT_EQ(m_folder.name(), dmn::CDaemonController::getControlFolder("testd").getText());
    EXPECT_EQ(std::string::npos, test::readFile(kScript).find("secret"));
}

TEST_F(ManagementStepsTest, UninstallLogsItsSuccess) {
    m_entry->doUninstall();

    EXPECT_THAT(m_log.entries(),
                ElementsAre("Uninstalling daemon 'testd'...", "Nothing to do. Daemon not installed.",
                            "waitUninstalled returned true. Daemon successfully uninstalled."));
}

// The script stays, because the kernel tells the child that it has deleted it without doing so.
TEST_F(ManagementStepsTest, UninstallWithTimeout0LooksOnceAndFailsWithTheTimeoutTexts) {
    test::writeFile(kScript, "");

    Outcome const outcome = test::runInChild([this] {
        test::refuseSystemCall(test::kUnlinkCall, 0);
        m_entry->doUninstall();
    });

    EXPECT_EQ("Timeout while waiting for daemon uninstallation to finish.", outcome.errors);
    EXPECT_THAT(m_log.entries(),
                ElementsAre("Uninstalling daemon 'testd'...", "Finished uninstalling daemon.",
                            "error: Timeout while waiting for daemon 'testd' uninstallation to finish."));
}

TEST_F(ManagementStepsTest, StopOfADaemonThatDoesNotRunSucceedsAtOnce) {
    test::writeFile(kScript, "");

    m_entry->doStop();

    EXPECT_THAT(m_log.entries(), ElementsAre("Stopping daemon 'testd'...", "Done stopping daemon 'testd'.",
                                             "waitStopped returned true. Daemon successfully stopped."));
}

TEST_F(ManagementStepsTest, StopOfADaemonThatIsNotInstalledSucceedsAtOnce) {
    m_entry->doStop();

    EXPECT_THAT(m_log.entries(), Contains("waitStopped returned true. Daemon successfully stopped."));
}

TEST_F(ManagementStepsTest, InstallWaitsAsLongAsTheTimeoutSays) {
    waitFor("another");

    expectToWaitInVain([this] { m_entry->doInstall(); });
}

TEST_F(ManagementStepsTest, UninstallWaitsAsLongAsTheTimeoutSays) {
    test::writeFile(kScript, "");

    expectToWaitInVain([this] {
        test::refuseSystemCall(test::kUnlinkCall, 0);
        m_entry->doUninstall();
    });
}

TEST_F(ManagementStepsTest, StopWaitsAsLongAsTheTimeoutSays) {
    test::writeFile(kScript, "");
    test::writeFile(m_folder.name("testd.pid"), std::to_string(getpid()) + "\n");

    expectToWaitInVain([this] {
        test::refuseSystemCall(SYS_pidfd_send_signal, EPERM);
        m_entry->doStop();
    });
}

TEST_F(ManagementStepsTest, FailureOfTheControllerPassesUnchanged) {
    std::filesystem::remove_all("/etc/init.d");
    std::string const expected = "Unknown Linux flavor (cannot locate init.d directory).";

    EXPECT_EQ(expected, test::messageOf([this] { m_entry->doInstall(); }));
    EXPECT_EQ(expected, test::messageOf([this] { m_entry->doUninstall(); }));
    EXPECT_EQ(expected, test::messageOf([this] { m_entry->doStart(); }));
    EXPECT_EQ(expected, test::messageOf([this] { m_entry->doStop(); }));
}

// The commands of a real program

TEST_F(ManagementTest, InstallAndUninstallSaySoInTheLogAlone) {
    Outcome const installed = run(in({"install"}));
    Outcome const uninstalled = run(in({"uninstall"}));

    EXPECT_EQ("", installed.output + installed.errors + uninstalled.output + uninstalled.errors);
    EXPECT_THAT(m_log.entries(),
                ElementsAre(performing("install"), "Installing daemon 'testd'...",
                            "Done installing daemon 'testd'.",
                            "waitInstalled returned true. Daemon successfully uninstalled.", finished,
                            performing("uninstall"), "Uninstalling daemon 'testd'...",
                            "Finished uninstalling daemon.",
                            "waitUninstalled returned true. Daemon successfully uninstalled.", finished));
    EXPECT_FALSE(std::filesystem::exists(kScript));
}

TEST_F(ManagementTest, InstallWithAnEmptyControlFolderIsAccepted) {
    Outcome const outcome = run({"--controlFolder=", "install"});

    EXPECT_EQ(0, outcome.status);
    EXPECT_THAT(test::readFile(kScript), testing::HasSubstr("\nCONTROLFOLDER=\"\"\n"));
}

TEST_F(ManagementTest, OptionIdNamesWhatIsInstalled) {
    run(in({"--id=other", "install"}));

    EXPECT_THAT(test::entriesOf("/etc/init.d"), ElementsAre("other"));
}

TEST_F(ManagementTest, StartDoesNotWaitUntilTheDaemonIsUp) {
    install();

    Outcome const outcome = run({"start"}, "daemon.init=pause");

    EXPECT_EQ(0, outcome.status);
    ASSERT_TRUE(test::await([this] { return isRunning(); }));
    stop();
}

TEST_F(ManagementTest, StartSucceedsEvenIfTheDaemonThenFails) {
    install();

    Outcome const outcome = run({"start"}, "daemon.run=throw");

    EXPECT_EQ(0, outcome.status);
    EXPECT_TRUE(awaitEntry(escaped("Thrown in daemon.run.")));
    EXPECT_FALSE(isRunning());
}

TEST_F(ManagementTest, StartLogsWhatTheControllerLogsAndNothingMore) {
    install();

    run({"start"}, "createDaemon=throw");

    ASSERT_TRUE(awaitEntry(escaped("Thrown in createDaemon.")));
    EXPECT_THAT(lastEntries(6),
                testing::UnorderedElementsAre(performing("start", ""), "Starting daemon 'testd'...",
                                              "Done starting daemon 'testd'.", finished, performing("daemon"),
                                              escaped("Thrown in createDaemon.")));
}

TEST_F(ManagementTest, StopReturnsWhenTheDaemonHasGivenUpItsPIDFile) {
    install();
    run({"start"});
    ASSERT_TRUE(test::await([this] { return isRunning(); }));

    Outcome const outcome = run({"stop"});

    EXPECT_EQ(0, outcome.status);
    EXPECT_FALSE(isRunning());
}

TEST_F(ManagementTest, StopOfAStoppedDaemonHasStatus0) {
    install();

    Outcome const outcome = run({"stop"});

    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ("", outcome.output + outcome.errors);
}

TEST_F(ManagementTest, StopWithTimeout0OfADaemonThatTakesItsTimeFailsWithTheTimeoutTexts) {
    install();
    Program daemon = start(in({"run"}), "daemon.run=pause");
    ASSERT_TRUE(test::awaitOutput(daemon, "daemon.run\n"));

    Outcome const outcome = run(in({"--timeout=0", "stop"}));

    EXPECT_EQ(2, outcome.status);
    EXPECT_EQ(fatal("Timeout while waiting for daemon to stop."), outcome.output);
    EXPECT_EQ("", outcome.errors);
    EXPECT_THAT(lastEntries(4), ElementsAre("Stopping daemon 'testd'...", "Done stopping daemon 'testd'.",
                                            "error: Timeout while waiting for daemon 'testd' to stop.",
                                            escaped("Timeout while waiting for daemon to stop.")));
    go();
    EXPECT_EQ(0, daemon.wait().status);
}

TEST_F(ManagementTest, StopOfADaemonThatIsStillInItsInitWaitsForItsEnd) {
    install();
    run({"start"}, "daemon.init=pause");
    ASSERT_TRUE(test::await([this] { return isRunning(); }));
    Program stopping = start(in({"stop"}));
    ASSERT_TRUE(awaitEntry("Done stopping daemon 'testd'."));
    EXPECT_TRUE(isRunning());

    go();

    EXPECT_EQ(0, stopping.wait().status);
    EXPECT_FALSE(isRunning());
}

TEST_F(ManagementTest, UninstallStopsTheRunningDaemon) {
    install();
    Program daemon = start(in({"run"}));
    ASSERT_TRUE(test::await([this] { return isRunning(); }));

    Outcome const outcome = run({"uninstall"});

    EXPECT_EQ(0, outcome.status);
    EXPECT_EQ(0, daemon.wait().status);
}

class AnyCommandTest : public ManagementTest, public testing::WithParamInterface<char const*> {};

TEST_P(AnyCommandTest, MakesTheControlFolder) {
    run(in({GetParam()}), "daemon.run=return");

    EXPECT_TRUE(std::filesystem::is_directory(controlFolder()));
}

INSTANTIATE_TEST_SUITE_P(Commands, AnyCommandTest,
                         testing::Values("install", "uninstall", "start", "stop", "run", "daemon"));

class UnprivilegedTest : public ManagementAccountsTest, public testing::WithParamInterface<char const*> {};

TEST_P(UnprivilegedTest, CommandFailsForWantOfRootPrivileges) {
    test::setMode(m_folder.name(), 0755);
    install();
    std::string const message = "The process does not have the necessary root privileges for this operation.";

    Outcome const outcome =
        test::run(test::asUser("dmnuser", {program, "--controlFolder=" + controlFolder(), GetParam()}));

    EXPECT_EQ(2, outcome.status);
    EXPECT_EQ(fatal(message), outcome.output);
    EXPECT_EQ("", outcome.errors);
    EXPECT_TRUE(std::filesystem::exists(kScript));
}

INSTANTIATE_TEST_SUITE_P(Commands, UnprivilegedTest,
                         testing::Values("install", "uninstall", "start", "stop"));

} // namespace
