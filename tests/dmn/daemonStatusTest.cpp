#include "ControllerTest.h"

#include "support/Program.h"
#include "support/errors.h"

#include <dmn/daemonStatus.h>

#include <fdn/CPIDFile.h>

#include <gmock/gmock.h>

#include <cstdio>
#include <filesystem>

#include <stdlib.h>
#include <unistd.h>

namespace test {

namespace {

using dmn::DaemonState;
using dmn::DaemonStatus;
using dmn::getDaemonStatus;
using testing::HasSubstr;

class Status : public ControllerTest {
protected:
    DaemonStatus look() const { return getDaemonStatus("app", m_folder.path()); }

    static DaemonStatus lookByScript() { return getDaemonStatus("app", fdn::Path()); }
};

class StatusForAnOrdinaryUser : public ControllerAccountsTest {};

class DaemonLog : public ControllerAccountsTest {
protected:
    void SetUp() override {
        ControllerAccountsTest::SetUp();
        unsetenv("FDN_LOG_FILE");
        m_info.exePath = fdn::Path("/usr/bin/app");
    }
};

} // namespace

TEST_F(Status, IsNotInstalledWithoutScriptAndHolder) {
    DaemonStatus const status = look();

    EXPECT_EQ(DaemonState::NotInstalled, status.state);
    EXPECT_FALSE(status.isInstalled);
    EXPECT_EQ(0, status.process);
    EXPECT_EQ(m_folder.path().getText(), status.controlFolder.getText());
    EXPECT_EQ("", status.reason);
}

TEST_F(Status, IsNotInstalledWithoutScriptAndControlFolder) {
    DaemonStatus const status = lookByScript();

    EXPECT_EQ(DaemonState::NotInstalled, status.state);
    EXPECT_EQ("", status.controlFolder.getText());
}

TEST_F(Status, IsNotInstalledWithoutScriptButWithADeadFile) {
    writeFile(m_folder.name("app.pid"), "1\nnobody's\n");

    EXPECT_EQ(DaemonState::NotInstalled, look().state);
}

TEST_F(Status, IsNotInstalledWhereThereIsNoFolderForScripts) {
    std::filesystem::remove("/etc/init.d");

    EXPECT_EQ(DaemonState::NotInstalled, lookByScript().state);
    EXPECT_FALSE(look().isInstalled);
}

TEST_F(Status, IsStoppedOnceItIsInstalled) {
    install();

    DaemonStatus const status = lookByScript();

    EXPECT_EQ(DaemonState::Stopped, status.state);
    EXPECT_TRUE(status.isInstalled);
    EXPECT_EQ(m_folder.path().getText(), status.controlFolder.getText());
}

TEST_F(Status, IsStoppedWithoutItsControlFolderWhichItDoesNotMake) {
    install();
    std::filesystem::remove(m_folder.name());

    EXPECT_EQ(DaemonState::Stopped, lookByScript().state);
    EXPECT_FALSE(std::filesystem::exists(m_folder.name()));
    std::filesystem::create_directory(m_folder.name());
}

TEST_F(Status, IsRunningWhileAProcessHoldsTheFile) {
    install();
    fdn::CPIDFile const file(m_folder / "app.pid");

    DaemonStatus const status = lookByScript();

    EXPECT_EQ(DaemonState::Running, status.state);
    EXPECT_TRUE(status.isInstalled);
    EXPECT_EQ(getpid(), status.process);
}

TEST_F(Status, IsRunningWithoutAScript) {
    fdn::CPIDFile const file(m_folder / "app.pid");

    DaemonStatus const status = look();

    EXPECT_EQ(DaemonState::Running, status.state);
    EXPECT_FALSE(status.isInstalled);
    EXPECT_EQ(getpid(), status.process);
}

TEST_F(Status, IsRunningWhereThereIsNoFolderForScripts) {
    std::filesystem::remove("/etc/init.d");
    fdn::CPIDFile const file(m_folder / "app.pid");

    EXPECT_EQ(DaemonState::Running, look().state);
}

TEST_F(Status, IsDeadWhenItsProcessHasLeftItsFileBehind) {
    install();
    runInChild([this] {
        auto* const file = new fdn::CPIDFile(m_folder / "app.pid");
        static_cast<void>(file); // never given up
    });
    ASSERT_TRUE(std::filesystem::exists(m_folder.name("app.pid")));

    EXPECT_EQ(DaemonState::Dead, look().state);
    EXPECT_EQ(0, look().process);
    EXPECT_TRUE(std::filesystem::exists(m_folder.name("app.pid")));
}

TEST_F(Status, IsDeadForALinkThatLeadsNowhere) {
    install();
    std::filesystem::create_symlink("/nowhere", m_folder.name("app.pid"));

    EXPECT_EQ(DaemonState::Dead, look().state);
}

// Each of these daemons gives its file up, so none of them is ever dead.
TEST_F(Status, IsNeverDeadWhileDaemonsComeAndGo) {
    constexpr int kLooks = 2000;
    install();
    Program const daemons([this] {
        for (;;)
            fdn::CPIDFile const file(m_folder / "app.pid");
    });

    for (int count = 0; count < kLooks; ++count) {
        DaemonStatus const status = look();
        ASSERT_NE(DaemonState::Dead, status.state);
        ASSERT_NE(DaemonState::Unknown, status.state) << status.reason.toUTF8();
    }
}

TEST_F(Status, IsUnknownForAScriptThatSaysNothing) {
    writeInitScript("#!/bin/sh\nexit 2\n");

    DaemonStatus const status = lookByScript();

    EXPECT_EQ(DaemonState::Unknown, status.state);
    EXPECT_TRUE(status.isInstalled);
    EXPECT_THAT(status.reason.toUTF8(), HasSubstr("'/etc/init.d/app'"));
}

TEST_F(Status, IsToldAllTheSameWithAControlFolderOfItsOwn) {
    writeInitScript("#!/bin/sh\nexit 2\n");

    EXPECT_EQ(DaemonState::Stopped, look().state);
}

TEST_F(Status, IsUnknownWithoutAnyControlFolder) {
    dmn::CDaemonController::install(m_info, "app", fdn::Path(), "", "", "", "");

    DaemonStatus const status = lookByScript();

    EXPECT_EQ(DaemonState::Unknown, status.state);
    EXPECT_EQ("The daemon 'app' has no control folder, so nobody can tell where its PID file is.",
              status.reason.toUTF8());
}

TEST_F(Status, IsUnknownInAFolderThatCannotBeLookedAt) {
    install();
    std::filesystem::create_symlink(m_folder.name("loop"), m_folder.name("loop"));

    DaemonStatus const status = getDaemonStatus("app", m_folder / "loop");

    EXPECT_EQ(DaemonState::Unknown, status.state);
    EXPECT_THAT(status.reason.toUTF8(), HasSubstr("'" + m_folder.name("loop/app.pid") + "'"));
}

TEST_F(Status, RefusesAnIDThatNamesNoDaemon) {
    EXPECT_EQ("Invalid daemon id: 'a/b'.", messageOf([] { getDaemonStatus("a/b", fdn::Path()); }));
}

TEST_F(Status, HasTheExitStatusesOfTheStandard) {
    EXPECT_EQ(0, dmn::getExitStatusOf(DaemonState::Running));
    EXPECT_EQ(1, dmn::getExitStatusOf(DaemonState::Dead));
    EXPECT_EQ(3, dmn::getExitStatusOf(DaemonState::Stopped));
    EXPECT_EQ(4, dmn::getExitStatusOf(DaemonState::NotInstalled));
    EXPECT_EQ(4, dmn::getExitStatusOf(DaemonState::Unknown));
}

TEST_F(StatusForAnOrdinaryUser, IsToldWhereTheUserMayLook) {
    install();
    setMode(m_folder.name(), 0755);
    fdn::CPIDFile const file(m_folder / "app.pid");

    Outcome const outcome = runInChild([] {
        becomeUser();
        std::printf("%d", getDaemonStatus("app", fdn::Path()).process);
    });

    EXPECT_EQ(std::to_string(getpid()), outcome.output) << outcome.errors;
}

TEST_F(StatusForAnOrdinaryUser, IsUnknownWhereTheUserMayNotLook) {
    install();
    fdn::CPIDFile const file(m_folder / "app.pid");

    Outcome const outcome = runInChild([] {
        becomeUser();
        DaemonStatus const status = getDaemonStatus("app", fdn::Path());
        std::printf("%d %s", static_cast<int>(status.state), status.reason.toUTF8().c_str());
    });

    EXPECT_THAT(outcome.output, HasSubstr(std::to_string(static_cast<int>(DaemonState::Unknown)) + " "));
    EXPECT_THAT(outcome.output, HasSubstr("'" + m_folder.name("app.pid") + "': Permission denied"));
}

TEST_F(DaemonLog, IsThatOfTheProgramUnderRootWithoutAnAccount) {
    install();

    EXPECT_EQ("/var/log/app/app.log", dmn::getDaemonLogFile("app").getText().toUTF8());
}

TEST_F(DaemonLog, IsThatOfTheProgramUnderItsAccount) {
    install("dmnother");

    EXPECT_THAT(dmn::getDaemonLogFile("app").getText().toUTF8(), HasSubstr("/.local/state/app/app.log"));
}

TEST_F(DaemonLog, IsUnknownForAnAccountThatDoesNotExist) {
    install("nobody-at-all");

    EXPECT_THAT(messageOf([] { dmn::getDaemonLogFile("app"); }), HasSubstr("nobody-at-all"));
}

TEST_F(DaemonLog, IsUnknownWithoutAScript) {
    EXPECT_THAT(messageOf([] { dmn::getDaemonLogFile("app"); }), HasSubstr("'/etc/init.d/app'"));
}

} // namespace test
