#include "ControllerTest.h"

#include "support/Obstacles.h"
#include "support/errors.h"

#include <dmn/CDaemonStarter.h>
#include <dmn/CDaemonStopper.h>
#include <dmn/daemonStatus.h>

#include <fdn/CPIDFile.h>

#include <gmock/gmock.h>

#include <filesystem>
#include <optional>

#include <sys/wait.h>

namespace test {

namespace {

using dmn::CDaemonStarter;
using dmn::CDaemonStopper;
using testing::HasSubstr;

constexpr int kLong = 30000;

/// Every run of the script fails, because the shell is broken.
class SettingsWithoutShell : public ControllerTest {
protected:
    void SetUp() override {
        ControllerTest::SetUp();
        m_info.exePath = fdn::Path(DMN_STARTED_DAEMON);
        m_info.params = {"serve"};
        install();
        m_shell.emplace();
    }

    std::optional<BrokenShell> m_shell;
};

} // namespace

TEST_F(SettingsWithoutShell, AreNotThereForTheController) {
    EXPECT_THAT(messageOf([] { dmn::CDaemonController::getControlFolder("app"); }),
                HasSubstr("has printed nothing for the setting 'ControlFolder'"));
    EXPECT_THROW(dmn::CDaemonController("app", m_folder.path()).start(), fdn::CError);
}

TEST_F(SettingsWithoutShell, AreReadByTheStarterAndTheStopper) {
    CDaemonStarter starter("app", fdn::Path());
    EXPECT_EQ(CDaemonStarter::Outcome::Started, starter.start(kLong));
    EXPECT_EQ(starter.getProcess(), dmn::getDaemonStatus("app", fdn::Path()).process);

    CDaemonStopper stopper("app", fdn::Path());
    EXPECT_EQ(CDaemonStopper::Outcome::Stopped, stopper.stop(kLong, CDaemonStopper::Force::No));
    waitpid(starter.getProcess(), nullptr, 0);
}

TEST_F(SettingsWithoutShell, AreReadByTheStarterWithAControlFolderOfItsOwn) {
    TemporaryFolder const other;
    CDaemonStarter starter("app", other.path());

    starter.start(kLong);

    EXPECT_EQ(starter.getProcess(), fdn::CPIDFile::getActivePID(other / "app.pid"));
    CDaemonStopper("app", other.path()).stop(kLong, CDaemonStopper::Force::Yes);
    waitpid(starter.getProcess(), nullptr, 0);
}

TEST_F(SettingsWithoutShell, AreReadForTheStatusAndTheLog) {
    dmn::DaemonStatus const status = dmn::getDaemonStatus("app", fdn::Path());

    EXPECT_EQ(dmn::DaemonState::Stopped, status.state);
    EXPECT_EQ(m_folder.path().getText(), status.controlFolder.getText());
    EXPECT_NO_THROW(dmn::getDaemonLogFile("app"));
}

TEST_F(SettingsWithoutShell, AreNotReadFromALinkToTheScript) {
    std::filesystem::rename("/etc/init.d/app", "/etc/script");
    std::filesystem::create_symlink("/etc/script", "/etc/init.d/app");

    EXPECT_EQ(dmn::DaemonState::Unknown, dmn::getDaemonStatus("app", fdn::Path()).state);

    m_shell.reset();
    EXPECT_EQ(dmn::DaemonState::Stopped, dmn::getDaemonStatus("app", fdn::Path()).state);
}

TEST_F(SettingsWithoutShell, AreNotReadFromAScriptOfSomebodyElse) {
    m_shell.reset();
    writeInitScript("#!/bin/sh\necho " + m_folder.name() + "\n");

    EXPECT_EQ(dmn::DaemonState::Stopped, dmn::getDaemonStatus("app", fdn::Path()).state);
}

} // namespace test
