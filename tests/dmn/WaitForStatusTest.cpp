#include "ControllerTest.h"

#include "support/Program.h"

#include <fdn/CError.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <filesystem>
#include <functional>
#include <stdexcept>

#include <unistd.h>

namespace test {

namespace {

using dmn::CDaemonController;
using std::chrono::milliseconds;

constexpr int kLongEnough = 60000;
constexpr milliseconds kPollInterval(50);

milliseconds durationOf(std::function<void()> const& action) {
    auto const start = std::chrono::steady_clock::now();
    action();
    return std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - start);
}

/// The shortest of several durations, which is how long the action takes when nothing delays the process.
milliseconds shortestDurationOf(std::function<void()> const& action) {
    milliseconds shortest = durationOf(action);
    for (int i = 0; i < 10; ++i)
        shortest = std::min(shortest, durationOf(action));
    return shortest;
}

/// Counts how often it is asked for its status, and answers "no" this many times before "yes".
class CountingController : public CDaemonController {
public:
    explicit CountingController(int noes) : CDaemonController("app", fdn::Path()), m_noes(noes) {}

    ~CountingController() override = default;

    bool waitFor(bool expected, int timeoutMs) {
        return waitForStatus(static_cast<Predicate>(&CountingController::answer), expected, timeoutMs);
    }

    bool waitForError() {
        return waitForStatus(static_cast<Predicate>(&CountingController::fail), true, kLongEnough);
    }

    int calls() const { return m_calls; }

private:
    using Predicate = bool (CDaemonController::*)();

    bool answer() { return ++m_calls > m_noes; }

    bool fail() {
        ++m_calls;
        throw std::runtime_error("no status");
    }

    int m_noes;
    int m_calls = 0;
};

class WaitForStatus : public ControllerTest {
protected:
    CDaemonController m_controller{"app", m_folder.path()};
};

} // namespace

TEST_F(WaitForStatus, ReturnsAtOnceWithTheExpectedAnswer) {
    CountingController controller(0);

    EXPECT_TRUE(controller.waitFor(true, kLongEnough));
    EXPECT_EQ(1, controller.calls());
}

TEST_F(WaitForStatus, AsksOnceWithoutTime) {
    for (int const timeout : {0, -1, INT_MIN}) {
        CountingController fails(1);
        CountingController succeeds(0);

        EXPECT_FALSE(fails.waitFor(true, timeout));
        EXPECT_EQ(1, fails.calls());
        EXPECT_TRUE(succeeds.waitFor(true, timeout));
        EXPECT_EQ(1, succeeds.calls());
    }
}

TEST_F(WaitForStatus, DoesNotSleepWithoutTime) {
    for (int const timeout : {0, -1, INT_MIN})
        EXPECT_LT(shortestDurationOf([&] { CountingController(1).waitFor(true, timeout); }), kPollInterval);
}

TEST_F(WaitForStatus, AsksUntilTheAnswerIsTheExpectedOne) {
    CountingController controller(2);

    milliseconds const duration = durationOf([&] { EXPECT_TRUE(controller.waitFor(true, kLongEnough)); });

    EXPECT_EQ(3, controller.calls());
    EXPECT_GE(duration, 2 * kPollInterval);
}

TEST_F(WaitForStatus, WaitsForTheAnswerNoAsWell) {
    CountingController controller(1);

    EXPECT_TRUE(controller.waitFor(false, kLongEnough));
    EXPECT_EQ(1, controller.calls());
}

TEST_F(WaitForStatus, AsksAboutTwentyTimesASecond) {
    CountingController controller(INT_MAX);

    milliseconds const duration = durationOf([&] { EXPECT_FALSE(controller.waitFor(true, 1000)); });

    EXPECT_GE(duration, milliseconds(1000));
    EXPECT_LE(controller.calls(), 21);
    EXPECT_GT(controller.calls(), 1); // not more, because a busy machine prolongs the sleeps
}

TEST_F(WaitForStatus, SleepsFiftyMillisecondsBeforeItAsksAgain) {
    milliseconds const duration =
        shortestDurationOf([] { CountingController(1).waitFor(true, kLongEnough); });

    EXPECT_GE(duration, kPollInterval);
    EXPECT_LT(duration, 2 * kPollInterval);
}

TEST_F(WaitForStatus, TakesTheLongestTime) {
    CountingController controller(2);

    EXPECT_TRUE(controller.waitFor(true, INT_MAX));
    EXPECT_EQ(3, controller.calls());
}

TEST_F(WaitForStatus, EndsWithTheErrorOfTheQuestion) {
    CountingController controller(0);

    EXPECT_THROW(controller.waitForError(), std::runtime_error);
    EXPECT_EQ(1, controller.calls());
}

TEST_F(WaitForStatus, StoppedIsADaemonThatIsNotInstalled) {
    writePIDFile(getpid());

    EXPECT_TRUE(m_controller.isStopped());
    EXPECT_TRUE(m_controller.waitStopped(0));
    EXPECT_EQ(0, m_controller.checkRunningAndReady());
}

TEST_F(WaitForStatus, StoppedIsAnInstalledDaemonWithoutALiveProcess) {
    install();
    EXPECT_TRUE(m_controller.isStopped());

    Program daemon({"true"});
    writePIDFile(daemon.pid());
    daemon.wait();

    EXPECT_TRUE(m_controller.isStopped());
    EXPECT_TRUE(m_controller.waitStopped(0));
    EXPECT_EQ(0, m_controller.checkRunningAndReady());
}

TEST_F(WaitForStatus, RunningIsAnInstalledDaemonWithALiveProcess) {
    install();
    writePIDFile(getpid());

    EXPECT_FALSE(m_controller.isStopped());
    EXPECT_FALSE(m_controller.waitStopped(0));
    EXPECT_EQ(-1, m_controller.checkRunningAndReady());
}

TEST_F(WaitForStatus, RunningIsFoundInTheControlFolderOfTheScript) {
    install();
    writePIDFile(getpid());

    EXPECT_FALSE(CDaemonController("app", fdn::Path()).isStopped());
}

TEST_F(WaitForStatus, WaitStoppedWaitsForTheProcessToEnd) {
    install();
    Program daemon({"sleep", "0.2"});
    writePIDFile(daemon.pid());

    EXPECT_TRUE(m_controller.waitStopped(kLongEnough));
    EXPECT_EQ(0, daemon.wait().status);
}

TEST_F(WaitForStatus, WaitInstalledWaitsForTheScript) {
    EXPECT_FALSE(m_controller.waitInstalled(0));
    Program installer({"sh", "-c", "sleep 0.2; echo >/etc/init.d/app"});

    EXPECT_TRUE(m_controller.waitInstalled(kLongEnough));
    EXPECT_TRUE(m_controller.isInstalled());
    EXPECT_TRUE(m_controller.waitInstalled(0));
}

TEST_F(WaitForStatus, WaitUninstalledWaitsForTheScriptToGo) {
    writeInitScript("");
    EXPECT_FALSE(m_controller.waitUninstalled(0));
    Program uninstaller({"sh", "-c", "sleep 0.2; rm /etc/init.d/app"});

    EXPECT_TRUE(m_controller.waitUninstalled(kLongEnough));
    EXPECT_FALSE(m_controller.isInstalled());
    EXPECT_TRUE(m_controller.waitUninstalled(0));
}

TEST_F(WaitForStatus, WaitRunningAndReadyReturnsAtTheFirstLookAtARunningDaemon) {
    install();
    writePIDFile(getpid());

    EXPECT_EQ(-1, m_controller.waitRunningAndReady(0));
    EXPECT_EQ(-1, m_controller.waitRunningAndReady(kLongEnough));
}

TEST_F(WaitForStatus, WaitRunningAndReadyTimesOutForAStoppedDaemon) {
    install();

    milliseconds const duration = durationOf([&] { EXPECT_EQ(0, m_controller.waitRunningAndReady(150)); });

    EXPECT_GE(duration, milliseconds(150));
    EXPECT_EQ(0, m_controller.waitRunningAndReady(0));
    EXPECT_EQ(0, m_controller.waitRunningAndReady(-1));
}

TEST_F(WaitForStatus, WaitRunningAndReadyWaitsForTheDaemonToRun) {
    install();
    Program daemon({"sh", "-c", "sleep 0.2; echo $$ >\"$0\"; exec sleep 1000", m_folder.name("app.pid")});

    EXPECT_EQ(-1, m_controller.waitRunningAndReady(kLongEnough));
}

TEST_F(WaitForStatus, PassesOnWhatCannotBeFoundOut) {
    std::filesystem::remove("/etc/init.d");

    EXPECT_THROW(m_controller.waitStopped(0), fdn::CError);
    EXPECT_THROW(m_controller.waitInstalled(0), fdn::CError);
    EXPECT_THROW(m_controller.waitUninstalled(0), fdn::CError);
    EXPECT_THROW(m_controller.waitRunningAndReady(0), fdn::CError);
}

} // namespace test
