#include "ObservedManager.h"

#include "support/BackgroundCall.h"
#include "support/CapturedLog.h"
#include "support/Program.h"
#include "support/Supervisor.h"
#include "support/TemporaryFolder.h"
#include "support/await.h"
#include "support/errors.h"
#include "support/processInfo.h"

#include <fdn/CPIDFile.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <tuple>

#include <unistd.h>

namespace {

using Status = dmn::CDaemonManager::Status;
using test::ObservedManager;
using test::ScriptedDaemon;
using testing::ElementsAre;
using testing::IsEmpty;

class CDaemonManagerTest : public testing::Test {
protected:
    bool hasPIDFile() const { return std::filesystem::exists(m_folder.name("app.pid")); }

    /// Runs the daemon and swallows whatever it throws.
    void runDaemonAnyhow() {
        try {
            m_manager->runDaemon(m_daemon.get());
        } catch (...) { // NOLINT(bugprone-empty-catch): the test is about what it leaves behind
        }
    }

    test::TemporaryFolder m_folder;
    test::CapturedLog m_log;
    fdn::P<ObservedManager> m_manager = fdn::newObj<ObservedManager>();
    fdn::P<ScriptedDaemon> m_daemon = fdn::newObj<ScriptedDaemon>(m_folder.path());
};

// The status that results, by the current status (row) and the one that is set (column).
constexpr Status kTransitions[4][4] = {
    {Status::Starting, Status::Running, Status::Stopping, Status::Stopped},
    {Status::Starting, Status::Running, Status::Stopping, Status::Stopped},
    {Status::Stopping, Status::Stopping, Status::Stopping, Status::Stopped},
    {Status::Stopped, Status::Stopped, Status::Stopped, Status::Stopped},
};

class CDaemonManagerTransition : public testing::TestWithParam<std::tuple<int, int>> {};

TEST_P(CDaemonManagerTransition, StoppingOnlyBecomesStoppedAndStoppedStays) {
    auto const [from, to] = GetParam();
    auto const manager = fdn::newObj<ObservedManager>();
    manager->setStatus(static_cast<Status>(from));

    manager->setStatus(static_cast<Status>(to));

    EXPECT_EQ(kTransitions[from][to], manager->status());
}

INSTANTIATE_TEST_SUITE_P(AllPairs, CDaemonManagerTransition,
                         testing::Combine(testing::Range(0, 4), testing::Range(0, 4)));

TEST_F(CDaemonManagerTest, BeginsInStatusStartingWithoutADaemon) {
    EXPECT_EQ(Status::Starting, m_manager->status());
    EXPECT_FALSE(m_manager->daemon());
}

TEST_F(CDaemonManagerTest, StatusValuesAreFixed) {
    EXPECT_EQ(0, static_cast<int>(Status::Starting));
    EXPECT_EQ(1, static_cast<int>(Status::Running));
    EXPECT_EQ(2, static_cast<int>(Status::Stopping));
    EXPECT_EQ(3, static_cast<int>(Status::Stopped));
    EXPECT_EQ(4U, sizeof(Status));
}

TEST_F(CDaemonManagerTest, ReportsAStepBeforeThePIDFileBeforeInitAndBeforeRun) {
    std::vector<std::string> events;
    m_manager->onStep = [&] {
        events.push_back(std::string("step") + (hasPIDFile() ? " with" : " without") + " PID file" +
                         (m_manager->daemon() ? ", attached" : ""));
    };
    m_daemon->onInit = [&] { events.push_back("init"); };
    m_daemon->onRun = [&] { events.push_back("run"); };

    m_manager->runDaemon(m_daemon.get());

    EXPECT_THAT(events, ElementsAre("step without PID file", "step with PID file, attached", "init",
                                    "step with PID file, attached", "run"));
}

TEST_F(CDaemonManagerTest, IsTheProgressObjectThatInitGets) {
    int steps = 0;
    m_manager->onStep = [&] { ++steps; };
    m_daemon->onInit = [&] { m_daemon->progress->onOperationStepDone(); };

    m_manager->runDaemon(m_daemon.get());

    EXPECT_EQ(4, steps);
}

TEST_F(CDaemonManagerTest, IsStartingDuringInitRunningDuringRunAndStoppedAfterwards) {
    std::vector<Status> statuses;
    m_daemon->onInit = m_daemon->onRun = [&] { statuses.push_back(m_manager->status()); };

    m_manager->runDaemon(m_daemon.get());

    EXPECT_THAT(statuses, ElementsAre(Status::Starting, Status::Running));
    EXPECT_EQ(Status::Stopped, m_manager->status());
}

TEST_F(CDaemonManagerTest, PIDFileHoldsThisProcessWhileTheDaemonRunsAndIsGoneAfterwards) {
    std::vector<int> holders;
    m_daemon->onInit =
        m_daemon->onRun = [&] { holders.push_back(fdn::CPIDFile::getActivePID(m_folder / "app.pid")); };

    m_manager->runDaemon(m_daemon.get());

    EXPECT_THAT(holders, ElementsAre(getpid(), getpid()));
    EXPECT_FALSE(hasPIDFile());
}

TEST_F(CDaemonManagerTest, HoldsTheDaemonWhileItRunsAndNotAfterwards) {
    fdn::P<dmn::CDaemon> heldDuringRun;
    m_daemon->onRun = [&] { heldDuringRun = m_manager->daemon(); };

    m_manager->runDaemon(m_daemon.get());

    EXPECT_EQ(m_daemon, heldDuringRun);
    EXPECT_FALSE(m_manager->daemon());
}

TEST_F(CDaemonManagerTest, LetsGoOfTheDaemonWhileStillRunningAndHoldingThePIDFile) {
    bool hadPIDFile = false;
    Status status = Status::Starting;
    m_daemon->onDelete = [&] {
        hadPIDFile = hasPIDFile();
        status = m_manager->status();
    };
    m_daemon->onRun = [&] { m_daemon.reset(); };

    m_manager->runDaemon(m_daemon.get());

    EXPECT_TRUE(hadPIDFile);
    EXPECT_EQ(Status::Running, status);
}

TEST_F(CDaemonManagerTest, StopRequestedBeforeTheRunReachesTheDaemonBeforeInit) {
    std::vector<bool> asked;
    std::vector<Status> statuses;
    m_daemon->onInit = m_daemon->onRun = [&] {
        asked.push_back(m_daemon->shouldStop());
        statuses.push_back(m_manager->status());
    };

    m_manager->signalStop();
    m_manager->runDaemon(m_daemon.get());

    EXPECT_THAT(asked, ElementsAre(true, true));
    EXPECT_THAT(statuses, ElementsAre(Status::Stopping, Status::Stopping));
    EXPECT_EQ(Status::Stopped, m_manager->status());
}

TEST_F(CDaemonManagerTest, StopRequestedDuringInitReachesTheDaemonAndKeepsTheStatusStopping) {
    Status statusInRun = Status::Starting;
    m_daemon->onInit = [&] { std::thread([this] { m_manager->signalStop(); }).join(); };
    m_daemon->onRun = [&] { statusInRun = m_manager->status(); };

    m_manager->runDaemon(m_daemon.get());

    EXPECT_TRUE(m_daemon->shouldStop());
    EXPECT_EQ(Status::Stopping, statusInRun);
    EXPECT_EQ(Status::Stopped, m_manager->status());
}

// If the daemon ran with the manager's mutex held, the thread would never end.
TEST_F(CDaemonManagerTest, StopRequestIsNotHeldUpByTheRunningDaemon) {
    m_daemon->onRun = [&] { std::thread([this] { m_manager->signalStop(); }).join(); };

    m_manager->runDaemon(m_daemon.get());

    EXPECT_TRUE(m_daemon->shouldStop());
}

TEST_F(CDaemonManagerTest, StopRequestedAfterTheRunTouchesNothing) {
    m_manager->runDaemon(m_daemon.get());

    m_manager->signalStop();

    EXPECT_EQ(Status::Stopped, m_manager->status());
    EXPECT_FALSE(m_daemon->shouldStop());
}

TEST_F(CDaemonManagerTest, StatusCanBeSetBackToStartingWhileTheDaemonRuns) {
    Status status = Status::Stopped;
    m_daemon->onRun = [&] {
        m_manager->setStatus(Status::Starting);
        status = m_manager->status();
    };

    m_manager->runDaemon(m_daemon.get());

    EXPECT_EQ(Status::Starting, status);
}

TEST_F(CDaemonManagerTest, SecondRunReportsStoppedThroughout) {
    Status status = Status::Starting;
    m_manager->runDaemon(m_daemon.get());
    m_daemon->onRun = [&] { status = m_manager->status(); };

    m_manager->runDaemon(m_daemon.get());

    EXPECT_EQ(Status::Stopped, status);
}

TEST_F(CDaemonManagerTest, ErrorOfInitReachesTheCallerAndRunIsNotCalled) {
    bool ran = false;
    m_daemon->onInit = [] { throw fdn::CError("No room."); };
    m_daemon->onRun = [&] { ran = true; };

    std::string const message = test::messageOf([this] { m_manager->runDaemon(m_daemon.get()); });

    EXPECT_EQ("No room.", message);
    EXPECT_FALSE(ran);
}

TEST_F(CDaemonManagerTest, ErrorOfInitIsLoggedOnceAndEndsInStoppedWithoutPIDFileOrDaemon) {
    m_daemon->onInit = [] { throw fdn::CError("No room."); };

    runDaemonAnyhow();

    EXPECT_THAT(m_log.entries(), ElementsAre("error: <where>CDaemonManager - running daemon</where>"
                                             "<what>No room.</what><code>-1</code>"));
    EXPECT_EQ(Status::Stopped, m_manager->status());
    EXPECT_FALSE(hasPIDFile());
    EXPECT_FALSE(m_manager->daemon());
}

TEST_F(CDaemonManagerTest, ErrorOfRunIsLoggedOnceAndEndsInStoppedWithoutPIDFileOrDaemon) {
    m_daemon->onRun = [] { throw std::runtime_error("Broken."); };

    EXPECT_THROW(m_manager->runDaemon(m_daemon.get()), std::runtime_error);

    EXPECT_THAT(m_log.entries(), ElementsAre("error: <where>CDaemonManager - running daemon</where>"
                                             "<what>Broken.</what>"));
    EXPECT_EQ(Status::Stopped, m_manager->status());
    EXPECT_FALSE(hasPIDFile());
    EXPECT_FALSE(m_manager->daemon());
}

TEST_F(CDaemonManagerTest, GivesThePIDFileUpBeforeItLetsGoOfADaemonThatThrew) {
    bool hadPIDFile = true;
    m_daemon->onDelete = [&] { hadPIDFile = hasPIDFile(); };
    m_daemon->onRun = [&] {
        m_daemon.reset();
        throw std::runtime_error("Broken.");
    };

    runDaemonAnyhow();

    EXPECT_FALSE(hadPIDFile);
}

TEST_F(CDaemonManagerTest, OtherThrownTypesPassUnloggedAndLeaveDaemonAndStatusButNoPIDFile) {
    m_daemon->onRun = [] { throw 1; };

    EXPECT_THROW(m_manager->runDaemon(m_daemon.get()), int);

    EXPECT_THAT(m_log.entries(), IsEmpty());
    EXPECT_EQ(m_daemon, m_manager->daemon());
    EXPECT_EQ(Status::Running, m_manager->status());
    EXPECT_FALSE(hasPIDFile());
}

TEST_F(CDaemonManagerTest, DestructorReleasesADaemonThatIsStillAttached) {
    bool deleted = false;
    m_daemon->onRun = [] { throw 1; };
    m_daemon->onDelete = [&] { deleted = true; };
    runDaemonAnyhow();
    m_daemon.reset();
    EXPECT_FALSE(deleted);

    m_manager.reset();

    EXPECT_TRUE(deleted);
}

TEST_F(CDaemonManagerTest, MissingControlFolderIsAnErrorBeforeTheDaemonIsAttached) {
    bool attached = false;
    auto const daemon = fdn::newObj<ScriptedDaemon>(m_folder / "missing");
    m_manager->onStep = [&] { attached = attached || m_manager->daemon(); };

    EXPECT_THROW(m_manager->runDaemon(daemon.get()), fdn::CError);

    EXPECT_FALSE(attached);
    EXPECT_EQ(Status::Stopped, m_manager->status());
}

TEST_F(CDaemonManagerTest, PIDFileOfAnotherLiveProcessIsAnErrorAndStaysAsItIs) {
    test::Program const other([this] {
        fdn::CPIDFile const file(m_folder / "app.pid");
        pause();
    });
    ASSERT_TRUE(test::await([&] { return hasPIDFile(); }));
    std::string const content = test::readFile(m_folder.name("app.pid"));

    EXPECT_THROW(m_manager->runDaemon(m_daemon.get()), fdn::CError);

    EXPECT_EQ(content, test::readFile(m_folder.name("app.pid")));
    EXPECT_EQ(Status::Stopped, m_manager->status());
}

TEST_F(CDaemonManagerTest, MissingDaemonIsAnError) {
    std::string const message = test::messageOf([this] { m_manager->runDaemon(nullptr); });

    EXPECT_EQ("There is no daemon to run.", message);
    EXPECT_EQ(Status::Stopped, m_manager->status());
}

TEST_F(CDaemonManagerTest, LettingGoOfTheDaemonWaitsUntilAStopRequestHasBeenForwarded) {
    std::atomic<bool> isRunning{false};
    std::atomic<bool> mayReturn{false};
    m_daemon->onRun = [&] {
        isRunning = true;
        while (!mayReturn)
            std::this_thread::yield();
    };
    test::BackgroundCall const running([this] { m_manager->runDaemon(m_daemon.get()); });
    EXPECT_TRUE(test::await([&] { return isRunning.load(); }));
    std::unique_lock<fdn::IMutex> const forwarding(m_manager->mutex());

    mayReturn = true;

    EXPECT_TRUE(running.getsBlocked());
    EXPECT_EQ(m_daemon, m_manager->daemon());
}

TEST_F(CDaemonManagerTest, TakesStopRequestsFromManyThreadsWhileDaemonsComeAndGo) {
    m_daemon->onRun = [this] { test::await([this] { return m_daemon->shouldStop(); }); };
    std::vector<std::thread> stoppers;
    for (int i = 0; i < 4; ++i)
        stoppers.emplace_back([this] {
            while (m_manager->status() != Status::Stopped)
                m_manager->signalStop();
        });

    m_manager->runDaemon(m_daemon.get());

    for (std::thread& stopper : stoppers)
        stopper.join();
    EXPECT_TRUE(m_daemon->shouldStop());
}

/// The manager is the library's own, which tells its supervisor.
class SupervisedManager : public testing::Test {
protected:
    static constexpr char kClaiming[] = "STATUS=Claiming the PID file";
    static constexpr char kInitializing[] = "STATUS=Initializing";
    static constexpr char kReady[] = "READY=1\nSTATUS=Running";
    static constexpr char kStopping[] = "STOPPING=1";

    /// What the supervisor hears of a run.
    std::vector<std::string> messagesOfRun() {
        try {
            m_manager->runDaemon(m_daemon.get());
        } catch (...) { // NOLINT(bugprone-empty-catch): the test is about what the supervisor hears
        }
        return m_supervisor.messages();
    }

    test::TemporaryFolder m_folder;
    test::CapturedLog m_log;
    test::Supervisor m_supervisor;
    fdn::P<dmn::CDaemonManager> m_manager = fdn::newObj<dmn::CDaemonManager>();
    fdn::P<ScriptedDaemon> m_daemon = fdn::newObj<ScriptedDaemon>(m_folder.path());
};

TEST_F(SupervisedManager, TellsHowFarItIs) {
    m_daemon->onRun = [&] {
        EXPECT_THAT(m_supervisor.messages(), ElementsAre(kClaiming, kInitializing, kReady));
    };

    EXPECT_THAT(messagesOfRun(), IsEmpty());
}

TEST_F(SupervisedManager, CountsTheStepsOfInitAndNoOthers) {
    m_daemon->onInit = [&] {
        for (int i = 0; i < 2; ++i)
            m_daemon->progress->onOperationStepDone();
    };
    m_daemon->onRun = [&] { m_daemon->progress->onOperationStepDone(); };

    EXPECT_THAT(messagesOfRun(), ElementsAre(kClaiming, kInitializing, "STATUS=Initializing: 1 step done",
                                             "STATUS=Initializing: 2 steps done", kReady));
}

// There is no room for all that it is told at once.
TEST_F(SupervisedManager, IsReadyForASupervisorWhoReadsSlowly) {
    std::vector<std::string> heard;
    std::thread reader;
    m_daemon->onInit = [&] {
        for (int i = 0; i < 5000; ++i)
            m_daemon->progress->onOperationStepDone();
        reader = std::thread([&] {
            EXPECT_TRUE(test::awaitSleep(getpid()));
            EXPECT_TRUE(test::await([&] {
                heard = m_supervisor.messages();
                return testing::Value(heard, testing::Contains(kReady));
            }));
        });
    };

    m_manager->runDaemon(m_daemon.get());

    reader.join();
}

TEST_F(SupervisedManager, HoldsThePIDFileWhenItSaysThatItIsReady) {
    m_daemon->onInit = [&] { EXPECT_EQ(fdn::CPIDFile::getActivePID(m_folder / "app.pid"), getpid()); };

    EXPECT_THAT(messagesOfRun(), testing::Contains(kReady));
}

TEST_F(SupervisedManager, TellsOfAStopOnce) {
    m_daemon->onRun = [&] {
        m_supervisor.messages();
        m_manager->signalStop();
        m_manager->signalStop();
    };

    EXPECT_THAT(messagesOfRun(), ElementsAre(kStopping));
}

TEST_F(SupervisedManager, IsNeverReadyOnceAStopWasRequested) {
    m_daemon->onInit = [&] { m_manager->signalStop(); };

    EXPECT_THAT(messagesOfRun(), ElementsAre(kClaiming, kInitializing, kStopping));
}

TEST_F(SupervisedManager, IsReadyOnceHoweverOftenItsStatusIsRunning) {
    m_daemon->onRun = [&] {
        m_supervisor.messages();
        m_manager->setStatus(Status::Running);
        m_manager->setStatus(Status::Starting);
        m_manager->setStatus(Status::Running);
    };

    EXPECT_THAT(messagesOfRun(), IsEmpty());
}

TEST_F(SupervisedManager, TellsWhyItsRunHasFailed) {
    m_daemon->onInit = [] { throw fdn::CError(L"No r\u00f6\u00f6m.\nNone."); };

    EXPECT_THAT(messagesOfRun(),
                ElementsAre(kClaiming, kInitializing, "STATUS=No r\xc3\xb6\xc3\xb6m. None."));
}

TEST_F(SupervisedManager, TellsWhyThePIDFileCannotBeClaimed) {
    std::filesystem::remove_all(m_folder.name());

    EXPECT_THAT(messagesOfRun(), ElementsAre(kClaiming, testing::HasSubstr("No such file or directory")));
}

TEST_F(SupervisedManager, ThatObservesTheStepsItselfTellsAllButThem) {
    m_manager = fdn::newObj<ObservedManager>();
    m_daemon->onInit = [&] { m_daemon->progress->onOperationStepDone(); };

    EXPECT_THAT(messagesOfRun(), ElementsAre(kClaiming, kInitializing, kReady));
}

TEST_F(SupervisedManager, TellsNothingOfARunThatComesAfterItsOwn) {
    messagesOfRun();

    EXPECT_THAT(messagesOfRun(), ElementsAre(kClaiming, kInitializing));
}

TEST_F(SupervisedManager, TakesStepsAndStopsFromManyThreads) {
    m_daemon->onInit = [&] {
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([this] {
                m_daemon->progress->onOperationStepDone();
                m_manager->signalStop();
            });
        for (std::thread& thread : threads)
            thread.join();
    };

    std::vector<std::string> const messages = messagesOfRun();

    EXPECT_EQ(std::count(messages.begin(), messages.end(), kStopping), 1);
    EXPECT_THAT(messages, testing::Contains("STATUS=Initializing: 4 steps done"));
}

TEST_F(SupervisedManager, DoesNotWaitForASupervisorWhoIsBusy) {
    m_daemon->onInit = [&] {
        for (int i = 0; i < 10000; ++i)
            m_daemon->progress->onOperationStepDone();
    };

    EXPECT_THAT(messagesOfRun(), testing::Contains(kInitializing));
}

} // namespace
