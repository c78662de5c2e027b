#include "LifeCycle.h"

#include "support/Obstacles.h"

#include <gmock/gmock.h>

#include <filesystem>

namespace {

using test::Outcome;
using testing::AllOf;
using testing::HasSubstr;
using testing::IsEmpty;

class FailingCommandTest : public test::LifeCycleFixture<test::PrivateRootTest> {
protected:
    /// Expects that the command failed, and that standard output and the log give a reason that names the
    /// culprit.
    void expectFailure(Outcome const& outcome, std::string const& culprit) const {
        EXPECT_EQ(2, outcome.status);
        EXPECT_THAT(outcome.output, AllOf(HasSubstr("\n\nFATAL ERROR: "), HasSubstr(culprit)));
        EXPECT_THAT(m_log.entries().back(), AllOf(HasSubstr("error: "), HasSubstr(culprit)));
    }
};

TEST_F(FailingCommandTest, InstallForAnUnknownUserNamesTheUser) {
    expectFailure(runHeartbeat({"--runas=nobody-knows", "install"}), "nobody-knows");
    EXPECT_FALSE(std::filesystem::exists(script()));
}

TEST_F(FailingCommandTest, InstallForAnUnknownGroupNamesTheGroup) {
    expectFailure(
        runHeartbeat({"--transientFolderAppID=beats", "--transientFolderGroup=nobody-knows", "install"}),
        "nobody-knows");
    EXPECT_FALSE(std::filesystem::exists(script()));
}

TEST_F(FailingCommandTest, InstallWithASlashInTheTransientFoldersNameNamesIt) {
    expectFailure(runHeartbeat({"--transientFolderAppID=../x", "install"}), "'../x'.");
}

TEST_F(FailingCommandTest, StartOfAMissingExecutableNamesIt) {
    std::string const copy = m_folder.name("copy");
    std::filesystem::copy_file(DMN_HEARTBEAT, copy);
    ASSERT_EQ(0, test::run({copy, "--controlFolder=" + controlFolder(), "install"}).status);
    std::filesystem::remove(copy);

    expectFailure(runHeartbeat({"start"}), copy);
}

TEST_F(FailingCommandTest, StartOfADaemonThatIsNotInstalledNamesTheScript) {
    expectFailure(runHeartbeat({"start"}), script());
}

TEST_F(FailingCommandTest, StartWithAScriptThatIsNoProgramNamesTheScript) {
    test::writeFile(script(), "");
    test::setMode(script(), 0755);

    expectFailure(runHeartbeat({"start"}), script());
}

TEST_F(FailingCommandTest, StartWithAScriptThatMayNotBeRunNamesTheScript) {
    install();
    test::setMode(script(), 0644);

    expectFailure(runHeartbeat({"start"}), script());
}

class ControlFolderTest : public FailingCommandTest, public testing::WithParamInterface<char const*> {};

TEST_P(ControlFolderTest, ThatIsAFileIsNamed) {
    test::writeFile(controlFolder(), "content");

    expectFailure(runHeartbeat({GetParam()}), controlFolder());

    EXPECT_EQ("content", test::readFile(controlFolder()));
    EXPECT_FALSE(std::filesystem::exists(script()));
}

INSTANTIATE_TEST_SUITE_P(Commands, ControlFolderTest, testing::Values("run", "daemon", "install"));

TEST_F(FailingCommandTest, InstallOnAReadOnlyEtcNamesTheScript) {
    test::ReadOnlyFolder const etc("/etc");

    expectFailure(runHeartbeat({"install"}), script());
}

TEST_F(FailingCommandTest, UninstallOnAReadOnlyEtcKeepsTheDaemonInstalled) {
    install();
    {
        test::ReadOnlyFolder const etc("/etc");
        expectFailure(runHeartbeat({"uninstall"}), "/etc/rc0.d/K10heartbeat");
    }

    EXPECT_TRUE(std::filesystem::exists(script()));
}

TEST_F(FailingCommandTest, InstallOnAFullDiskNamesTheScriptAndLeavesNothing) {
    test::FullFolder const folder("/etc/init.d");

    expectFailure(runHeartbeat({"install"}), script());

    EXPECT_THAT(test::entriesOf("/etc/init.d"), testing::ElementsAre("full"));
    EXPECT_THAT(test::entriesOf("/etc/rc3.d"), IsEmpty());
}

TEST_F(FailingCommandTest, RunOnAFullDiskNamesThePIDFileAndLeavesNothing) {
    std::filesystem::create_directory(controlFolder());
    test::FullFolder const folder(controlFolder());

    expectFailure(runHeartbeat({"run"}), pidFile());

    EXPECT_THAT(test::entriesOf(controlFolder()), testing::ElementsAre("full"));
}

TEST_F(FailingCommandTest, RunOnAReadOnlyControlFolderNamesThePIDFile) {
    std::filesystem::create_directory(controlFolder());
    test::FullFolder const mounted(controlFolder());
    test::ReadOnlyFolder const folder(controlFolder());

    expectFailure(runHeartbeat({"run"}), pidFile());
}

TEST_F(FailingCommandTest, SecondRunNamesTheProcessThatHoldsThePIDFile) {
    test::Program const first(heartbeat({"run"}));
    ASSERT_TRUE(awaitUp());

    Outcome const second = runHeartbeat({"run"});

    expectFailure(second, std::to_string(first.pid()));
    EXPECT_THAT(second.output, HasSubstr(pidFile()));
}

class MissingFolderTest : public FailingCommandTest, public testing::WithParamInterface<char const*> {};

TEST_P(MissingFolderTest, InstallNamesIt) {
    std::filesystem::remove_all(std::string("/etc/") + GetParam());

    expectFailure(runHeartbeat({"install"}), "cannot locate " + std::string(GetParam()) + " directory");
}

INSTANTIATE_TEST_SUITE_P(Folders, MissingFolderTest, testing::Values("init.d", "rc0.d", "rc3.d", "rc6.d"));

TEST_F(FailingCommandTest, UninstallWithoutARunLevelFolderKeepsTheDaemonInstalled) {
    install();
    std::filesystem::remove_all("/etc/rc3.d");

    expectFailure(runHeartbeat({"uninstall"}), "cannot locate rc3.d directory");
    EXPECT_TRUE(std::filesystem::exists(script()));

    std::filesystem::create_directory("/etc/rc3.d");
    EXPECT_EQ(0, runHeartbeat({"uninstall"}).status);
    EXPECT_FALSE(std::filesystem::exists(script()));
}

} // namespace
