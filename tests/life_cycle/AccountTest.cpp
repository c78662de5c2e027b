#include "LifeCycle.h"

#include "support/processInfo.h"

#include <gmock/gmock.h>

#include <filesystem>

#include <signal.h>

namespace {

using test::asUser;
using test::Outcome;
using test::Words;
using testing::HasSubstr;

constexpr char kNoRoot[] = "The process does not have the necessary root privileges for this operation.";

class AccountTest : public test::LifeCycleFixture<test::AccountsTest> {
protected:
    void makeUsersControlFolder() const {
        std::filesystem::create_directory(controlFolder());
        test::setOwner(controlFolder(), test::kUser, test::kUser);
    }

    std::string owners(std::string const& path) const {
        return std::to_string(test::ownerOf(path)) + ":" + std::to_string(test::groupOf(path));
    }
};

TEST_F(AccountTest, DaemonRunsUnderItsAccountAndRootStopsIt) {
    makeUsersControlFolder();
    install({"--runas=dmnuser"});

    start();

    EXPECT_EQ("61001 61001 61001 61001", test::statusOf(daemonPID(), "Uid"));
    EXPECT_EQ("61001 61001 61001 61001", test::statusOf(daemonPID(), "Gid"));
    EXPECT_EQ("61001:61001", owners(controlFolder() + "/heartbeat.txt"));
    EXPECT_EQ(0, runHeartbeat({"stop"}).status);
    EXPECT_EQ(3, status());
}

TEST_F(AccountTest, TransientFolderIsMadeForTheAccountAndTheGroup) {
    makeUsersControlFolder();
    install({"--runas=dmnuser", "--transientFolderAppID=beats", "--transientFolderGroup=dmnextra"});

    start();

    EXPECT_EQ("61001:61003", owners("/run/beats"));
    EXPECT_EQ(0750U, test::modeOf("/run/beats"));
    std::filesystem::remove("/run/beats");
}

TEST_F(AccountTest, TransientFolderWithoutAGroupGetsTheGroupOfTheAccountsName) {
    makeUsersControlFolder();
    install({"--runas=dmnuser", "--transientFolderAppID=beats"});

    start();

    EXPECT_EQ("61001:61001", owners("/run/beats"));
    std::filesystem::remove("/run/beats");
}

TEST_F(AccountTest, TransientFolderThatIsTheControlFolderGetsItsGroupToo) {
    Outcome const installing =
        runHeartbeat({"--controlFolder=/run/beats", "--runas=dmnuser", "--transientFolderAppID=beats",
                      "--transientFolderGroup=dmnextra", "install"});
    ASSERT_EQ(0, installing.status) << installing.output;
    EXPECT_FALSE(std::filesystem::exists("/run/beats")); // the start makes it

    Outcome const starting = runHeartbeat({"start"});

    EXPECT_EQ(0, starting.status) << starting.output;
    EXPECT_EQ("61001:61003", owners("/run/beats"));
    EXPECT_EQ(0750U, test::modeOf("/run/beats"));
    EXPECT_EQ(0, runHeartbeat({"stop"}).status);
    std::filesystem::remove_all("/run/beats");
}

TEST_F(AccountTest, DaemonThatMayNotUseItsControlFolderAnyMoreDoesNotComeUp) {
    install({"--runas=dmnuser"});
    test::setOwner(controlFolder(), 0, 0);

    Outcome const outcome = runHeartbeat({"start"});

    EXPECT_EQ(2, outcome.status);
    EXPECT_THAT(outcome.output, HasSubstr(pidFile()));
    EXPECT_EQ(3, status());
}

class OrdinaryUserTest : public AccountTest, public testing::WithParamInterface<char const*> {};

TEST_P(OrdinaryUserTest, CommandFailsForWantOfRootPrivileges) {
    install();
    start();
    pid_t const daemon = daemonPID();

    Outcome const outcome = test::run(asUser("dmnuser", {DMN_HEARTBEAT, GetParam()}));

    EXPECT_EQ(2, outcome.status);
    EXPECT_EQ(std::string("\n\nFATAL ERROR: ") + kNoRoot + "\n\n\n", outcome.output);
    EXPECT_EQ("", outcome.errors);
    EXPECT_EQ(daemon, daemonPID());
    EXPECT_EQ(0, status());
}

INSTANTIATE_TEST_SUITE_P(Commands, OrdinaryUserTest, testing::Values("uninstall", "start", "stop"));

TEST_F(AccountTest, OrdinaryUserSeesTheStatusOfRootsDaemon) {
    install();
    start();

    EXPECT_EQ(0, test::run(asUser("dmnuser", {DMN_HEARTBEAT, "status"})).status);
}

TEST_F(AccountTest, OrdinaryUserRunsTheDaemonInTheForeground) {
    makeUsersControlFolder();
    test::Program daemon(asUser("dmnuser", heartbeat({"run"})));
    ASSERT_TRUE(awaitUp());

    daemon.sendSignal(SIGTERM);

    EXPECT_EQ(0, daemon.wait().status);
    EXPECT_EQ("stopped", beats().back());
}

TEST_F(AccountTest, PIDFileOfTheAccountCannotHaveRootsProcessStopped) {
    makeUsersControlFolder();
    install({"--runas=dmnuser"});
    test::Program victim({"sleep", "1000"});
    test::writeFile(pidFile(), std::to_string(victim.pid()) + "\n");
    test::setOwner(pidFile(), test::kUser, test::kUser);

    Outcome const outcome = runHeartbeat({"stop"});

    EXPECT_EQ(0, outcome.status);
    victim.sendSignal(SIGKILL);
    EXPECT_EQ(SIGKILL, victim.wait().signal);
}

TEST_F(AccountTest, InstallByAnOrdinaryUserFailsForWantOfRootPrivileges) {
    Outcome const outcome = test::run(asUser("dmnuser", {DMN_HEARTBEAT, "--controlFolder=/tmp", "install"}));

    EXPECT_EQ(2, outcome.status);
    EXPECT_THAT(outcome.output, HasSubstr(kNoRoot));
    EXPECT_FALSE(std::filesystem::exists(script()));
}

TEST_F(AccountTest, DaemonThatIsProcess1StopsOnSIGTERM) {
    Words command{"unshare", "--pid", "--fork", "--kill-child", "--mount-proc", "--"};
    Words const daemon = heartbeat({"run"});
    command.insert(command.end(), daemon.begin(), daemon.end());
    test::Program machine(command);
    ASSERT_TRUE(test::await([this] { return !beats().empty(); }));
    ASSERT_EQ(1, daemonPID());

    kill(test::childOf(machine.pid()), SIGTERM);

    EXPECT_EQ(0, machine.wait().status);
    EXPECT_EQ("stopped", beats().back());
}

TEST_F(AccountTest, OrdinaryUserManagesTheDaemonWithASetUserIDExecutable) {
    std::string const executable = m_folder.name("heartbeat");
    std::filesystem::copy_file(DMN_HEARTBEAT, executable);
    test::setMode(executable, 04755);
    auto const command = [&](char const* word) {
        Outcome const outcome =
            test::run(asUser("dmnuser", {executable, "--controlFolder=" + controlFolder(), word}));
        EXPECT_EQ("", outcome.errors);
        return outcome.status;
    };

    EXPECT_EQ(0, command("install"));
    EXPECT_EQ(0, command("start"));
    EXPECT_TRUE(awaitUp());
    EXPECT_EQ(0, command("stop"));
    EXPECT_EQ(3, status());
    EXPECT_EQ(0, command("uninstall"));

    EXPECT_FALSE(std::filesystem::exists(script()));
}

TEST_F(AccountTest, SetUserIDExecutableHasRootsRightsUnderItsAccountToo) {
    std::string const executable = m_folder.name("heartbeat");
    std::filesystem::copy_file(DMN_HEARTBEAT, executable);
    test::setMode(executable, 04755);
    makeUsersControlFolder();
    ASSERT_EQ(
        0,
        test::run({executable, "--controlFolder=" + controlFolder(), "--runas=dmnuser", "install"}).status);

    start();

    EXPECT_EQ("61001 0 0 0", test::statusOf(daemonPID(), "Uid"));
}

} // namespace
