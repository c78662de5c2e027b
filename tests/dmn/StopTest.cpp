#include "ControllerTest.h"

#include "support/Obstacles.h"
#include "support/Program.h"
#include "support/errors.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <cstdio>
#include <functional>

#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace test {

namespace {

using dmn::CDaemonController;
using testing::HasSubstr;

using Names = std::vector<std::string>;

volatile sig_atomic_t signalsSeen = 0;

/// Performs the action in a process that the PID file of this ID names. Returns how often that process was
/// sent SIGTERM: a signal that a process sends to itself arrives before the call returns, so each one counts.
template <class Fixture>
int countSignals(Fixture const& fixture, std::string const& id, std::function<void()> const& action) {
    Outcome const outcome = runInChild([&] {
        signal(SIGTERM, [](int) { signalsSeen = signalsSeen + 1; });
        writeFile(fixture.name((id + ".pid").c_str()), std::to_string(getpid()) + "\n");
        action();
        std::printf("%d", static_cast<int>(signalsSeen));
    });
    EXPECT_EQ(0, outcome.status) << outcome.errors;
    return outcome.output.empty() ? -1 : std::stoi(outcome.output);
}

class Stop : public ControllerTest {
protected:
    int countSignals(std::function<void()> const& action, std::string const& id = "app") const {
        return test::countSignals(m_folder, id, action);
    }

    CDaemonController m_controller{"app", m_folder.path()};
};

class StopByAnOrdinaryUser : public ControllerAccountsTest {};

} // namespace

TEST_F(Stop, SendsOneSignalForEachCall) {
    EXPECT_EQ(1, countSignals([this] { m_controller.stop(); }));
    EXPECT_EQ(2, countSignals([this] {
                  m_controller.stop();
                  m_controller.stop();
              }));
    EXPECT_EQ(1, countSignals([this] { CDaemonController::stop(m_folder.path(), "app"); }));
}

TEST_F(Stop, TellsTheLog) {
    m_controller.stop();

    EXPECT_EQ((Names{"Stopping daemon 'app'...", "Done stopping daemon 'app'."}), m_log.entries());
}

TEST_F(Stop, OfAnIDTakesTheControlFolderFromTheScriptAndLogsNothing) {
    install();
    m_log.clear();

    EXPECT_EQ(1, countSignals([] { CDaemonController::stop("app"); }));
    EXPECT_EQ(Names{}, m_log.entries());
}

TEST_F(Stop, TakesTheControlFolderFromTheScriptWhereItWasGivenNone) {
    install();

    EXPECT_EQ(1, countSignals([] { CDaemonController("app", fdn::Path()).stop(); }));
}

TEST_F(Stop, NeedsNoScriptWithAControlFolder) {
    EXPECT_EQ(1, countSignals([this] { m_controller.stop(); }));
}

TEST_F(Stop, UsesTheIDAsItStandsInTheFileName) {
    for (std::string const id : {"my app", "%61pp", "a.b", "größe"}) {
        fdn::String const text = fdn::String::fromBytes(id);

        EXPECT_EQ(1, countSignals([&] { CDaemonController::stop(m_folder.path(), text); }, id)) << id;
    }
}

TEST_F(Stop, SignalsNobodyForAnotherID) {
    EXPECT_EQ(0, countSignals([this] { CDaemonController::stop(m_folder.path(), "ap"); }));
}

TEST_F(Stop, SucceedsInSilenceWithoutAPIDFile) {
    m_controller.stop();

    EXPECT_GT(1, CDaemonController::getActivePID(m_folder.path(), "app"));
    EXPECT_TRUE(m_controller.isStopped());
}

TEST_F(Stop, SucceedsInSilenceWithoutAControlFolder) {
    CDaemonController("app", m_folder / "missing").stop();

    EXPECT_EQ((Names{"Stopping daemon 'app'...", "Done stopping daemon 'app'."}), m_log.entries());
}

TEST_F(Stop, SucceedsInSilenceForAProcessThatIsGone) {
    Program daemon({"true"});
    writePIDFile(daemon.pid());
    daemon.wait();

    m_controller.stop();

    EXPECT_EQ((Names{"Stopping daemon 'app'...", "Done stopping daemon 'app'."}), m_log.entries());
}

TEST_F(Stop, SucceedsInSilenceWhenTheSystemRefusesTheSignal) {
    EXPECT_EQ(0, countSignals([this] {
                  refuseSystemCall(SYS_pidfd_send_signal, EPERM);
                  m_controller.stop();
              }));
    EXPECT_EQ((Names{"Stopping daemon 'app'...", "Done stopping daemon 'app'."}), m_log.entries());
}

TEST_F(Stop, SignalsByNumberWhereTheSystemGivesNoHandle) {
    EXPECT_EQ(1, countSignals([this] {
                  refuseSystemCall(SYS_pidfd_open, ENOSYS);
                  m_controller.stop();
              }));
}

TEST_F(Stop, SignalsByNumberWhereTheSystemHasNoUseForTheHandle) {
    EXPECT_EQ(1, countSignals([this] {
                  refuseSystemCall(SYS_pidfd_send_signal, ENOSYS);
                  m_controller.stop();
              }));
}

TEST_F(Stop, SignalsNobodyWhenTheDaemonGivesItsFileUpMeanwhile) {
    Program process({"sleep", "1000"});
    writePIDFile(process.pid());
    Program stopping([this] {
        awaitPerformBefore();
        m_controller.stop();
    });

    performBefore(SYS_pidfd_open, stopping.pid(), [this] { unlink(m_folder.name("app.pid").c_str()); });

    EXPECT_EQ(0, stopping.wait().status);
    process.sendSignal(SIGVTALRM); // SIGTERM, if it had been sent, would be delivered first
    EXPECT_EQ(SIGVTALRM, process.wait().signal);
}

TEST_F(Stop, LeavesThePIDFileToTheDaemon) {
    Program daemon({"sleep", "1000"});
    writePIDFile(daemon.pid());

    m_controller.stop();

    EXPECT_EQ(SIGTERM, daemon.wait().signal);
    EXPECT_EQ(Names{"app.pid"}, entriesOf(m_folder.name()));
}

TEST_F(Stop, FailsWithoutControlFolderAndScriptBeforeItIsDone) {
    fdn::CError const error = errorOf([] { CDaemonController("app", fdn::Path()).stop(); });

    EXPECT_THAT(error.getMessage().toUTF8(), HasSubstr("'/etc/init.d/app'"));
    EXPECT_EQ(Names{"Stopping daemon 'app'..."}, m_log.entries());
}

TEST_F(StopByAnOrdinaryUser, FailsAndSendsNoSignal) {
    setMode(m_folder.name(), 0777);

    EXPECT_EQ(0, countSignals(m_folder, "app", [this] {
                  becomeUser();
                  std::fputs(messageOf([this] { CDaemonController("app", m_folder.path()).stop(); }).c_str(),
                             stderr);
              }));
    EXPECT_EQ(Names{"Stopping daemon 'app'..."}, m_log.entries());
}

} // namespace test
