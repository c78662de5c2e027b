#include <dmn/CService.h>

#include "support/BackgroundCall.h"
#include "support/CapturedLog.h"
#include "support/Obstacles.h"
#include "support/Program.h"
#include "support/Supervisor.h"
#include "support/TemporaryFolder.h"
#include "support/await.h"
#include "support/errors.h"
#include "support/processInfo.h"

#include <dmn/CDaemonManager.h>

#include <gmock/gmock.h>

#include <atomic>
#include <climits>
#include <functional>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

#include <poll.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

constexpr int kForever = INT_MAX;

/// A service that behaves as the test tells it to.
class ScriptedService : public dmn::CService {
public:
    explicit ScriptedService(fdn::Path const& controlFolder = fdn::Path("/control"))
        : CService("service", controlFolder) {}

    void init(dmn::IDaemonOperationProgress*) override { onInit(); }

    void run() override { onRun(); }

    void reload() override {
        ++reloads;
        onReload();
    }

    std::function<void()> onInit = [] {};
    std::function<void()> onRun = [] {};
    std::function<void()> onReload = [] {};
    std::atomic<int> reloads{0};
};

bool isReadable(int descriptor) {
    pollfd readable = {descriptor, POLLIN, 0};
    return poll(&readable, 1, 0) == 1;
}

/// Whether the service's sleep returns before its time because of the action.
bool endsSleep(ScriptedService& service, std::function<void()> const& action) {
    bool goesOn = true;
    {
        test::BackgroundCall const sleeping([&] { goesOn = service.sleep(kForever); });
        EXPECT_TRUE(sleeping.getsBlocked());
        action();
    }
    return !goesOn;
}

TEST(CService, SleepsForItsTime) {
    ScriptedService service;
    auto const start = steady_clock::now();

    EXPECT_TRUE(service.sleep(50));

    EXPECT_GE(steady_clock::now() - start, milliseconds(50));
}

TEST(CService, DoesNotSleepForNoTimeOrLess) {
    ScriptedService service;

    for (int const none : {0, -1, INT_MIN})
        EXPECT_TRUE(service.sleep(none));
}

TEST(CService, WakesUpWhenAStopIsAskedFor) {
    ScriptedService service;

    EXPECT_TRUE(endsSleep(service, [&] { service.signalStop(); }));
}

TEST(CService, DoesNotSleepOnceAStopWasAskedFor) {
    ScriptedService service;
    service.signalStop();

    for (int const time : {kForever, 0, -1})
        EXPECT_FALSE(service.sleep(time));
}

TEST(CService, UsesNoProcessorTimeAndDoesNotWakeUpWhileItSleeps) {
    ScriptedService service;
    clockid_t clock = 0;
    timespec used[2] = {};
    std::string switches[2];
    std::atomic<pid_t> thread{0};
    test::BackgroundCall const sleeping([&] {
        pthread_getcpuclockid(pthread_self(), &clock);
        thread = gettid();
        service.sleep(kForever);
    });
    ASSERT_TRUE(sleeping.getsBlocked());

    for (int i = 0; i < 2; ++i) {
        clock_gettime(clock, &used[i]);
        switches[i] = test::statusOf(thread, "voluntary_ctxt_switches");
        service.sleep(300);
    }

    service.signalStop();
    EXPECT_EQ(used[0].tv_sec, used[1].tv_sec);
    EXPECT_EQ(used[0].tv_nsec, used[1].tv_nsec);
    EXPECT_EQ(switches[0], switches[1]);
}

TEST(CService, StillWakesUpWhenTheProgramHasClosedAllDescriptors) {
    test::Outcome const outcome = test::runInChild([] {
        ScriptedService service;
        std::thread stopper([&] {
            syscall(SYS_close_range, 3, ~0U, 0);
            service.signalStop();
        });
        service.sleep(kForever);
        stopper.join();
        std::cout << "stopped";
    });

    EXPECT_EQ(outcome.output, "stopped");
}

TEST(CService, NeverMissesAStop) {
    for (int i = 0; i < 500; ++i) {
        ScriptedService service;
        std::thread stopper([&] { service.signalStop(); });

        while (service.sleep(kForever))
            continue;

        stopper.join();
    }
}

TEST(CService, NeverMissesAReload) {
    for (int i = 0; i < 500; ++i) {
        ScriptedService service;
        service.onReload = [&] { service.signalStop(); };
        std::thread requester([&] { service.signalReload(); });

        EXPECT_FALSE(service.sleep(kForever));

        requester.join();
        EXPECT_EQ(service.reloads, 1);
    }
}

TEST(CService, OpensItsDescriptorsInAnyThreadWhileItIsStopped) {
    for (int i = 0; i < 500; ++i) {
        ScriptedService service;
        std::thread stopper([&] { service.signalStop(); });
        std::thread reloader([&] { service.signalReload(); });

        int const stop = service.getStopDescriptor();
        int const reload = service.getReloadDescriptor();
        stopper.join();
        reloader.join();

        EXPECT_TRUE(isReadable(stop));
        EXPECT_TRUE(isReadable(reload));
    }
}

TEST(CService, ReloadsOnceForManyRequests) {
    ScriptedService service;
    for (int i = 0; i < 3; ++i)
        service.signalReload();
    EXPECT_EQ(service.reloads, 0);

    EXPECT_TRUE(service.sleep(0));
    EXPECT_TRUE(service.sleep(0));

    EXPECT_EQ(service.reloads, 1);
}

TEST(CService, ReloadsInASleepOfNoTime) {
    for (int const none : {0, -1}) {
        ScriptedService service;
        service.signalReload();

        EXPECT_TRUE(service.sleep(none));

        EXPECT_EQ(service.reloads, 1);
    }
}

TEST(CService, ReloadsWhileItSleepsOnItsThread) {
    ScriptedService service;
    std::atomic<pid_t> reloader{0};
    service.onReload = [&] { reloader = gettid(); };
    std::atomic<pid_t> sleeper{0};
    test::BackgroundCall const sleeping([&] {
        sleeper = gettid();
        service.sleep(kForever);
    });
    ASSERT_TRUE(sleeping.getsBlocked());

    service.signalReload();

    EXPECT_TRUE(test::await([&] { return reloader != 0; }));
    EXPECT_EQ(reloader, sleeper);
    EXPECT_TRUE(sleeping.getsBlocked());
    service.signalStop();
}

TEST(CService, SleepsForTheRestOfItsTimeAfterAReload) {
    ScriptedService service;
    service.signalReload();
    auto const start = steady_clock::now();

    EXPECT_TRUE(service.sleep(50));

    EXPECT_EQ(service.reloads, 1);
    EXPECT_GE(steady_clock::now() - start, milliseconds(50));
}

TEST(CService, ReloadsAgainForARequestThatComesDuringAReload) {
    ScriptedService service;
    service.onReload = [&] {
        if (service.reloads == 1)
            service.signalReload();
    };
    service.signalReload();

    service.sleep(0);
    EXPECT_EQ(service.reloads, 1);
    service.sleep(0);

    EXPECT_EQ(service.reloads, 2);
}

// Otherwise the service would never get to its work.
TEST(CService, EndsItsSleepHoweverManyReloadsAreAskedFor) {
    ScriptedService service;
    service.onReload = [&] { service.signalReload(); };
    service.signalReload();

    EXPECT_TRUE(service.sleep(0));
    EXPECT_TRUE(service.sleep(20));
}

TEST(CService, EndsItsSleepWhenAStopIsAskedForDuringAReload) {
    ScriptedService service;
    service.onReload = [&] { service.signalStop(); };

    EXPECT_TRUE(endsSleep(service, [&] { service.signalReload(); }));
}

TEST(CService, DoesNotReloadOnceAStopWasAskedFor) {
    ScriptedService service;
    service.signalReload();
    service.signalStop();

    EXPECT_FALSE(service.sleep(0));

    EXPECT_EQ(service.reloads, 0);
}

TEST(CService, LogsAReloadThatFailsAndGoesOn) {
    test::CapturedLog const log;
    ScriptedService service;
    service.onReload = [] { throw fdn::CError("No settings."); };
    service.signalReload();

    EXPECT_TRUE(service.sleep(0));

    EXPECT_THAT(log.entries(), ElementsAre("error: <where>CService - reloading</where>"
                                           "<what>No settings.</what><code>-1</code>"));
}

TEST(CService, ReloadsNothingByItself) {
    class PlainService : public dmn::CService {
    public:
        PlainService() : CService("plain", fdn::Path()) {}

        void run() override {}
    };

    PlainService service;
    service.signalReload();

    EXPECT_TRUE(service.sleep(0));
}

TEST(CService, ShowsAStopByADescriptorThatStaysReadable) {
    ScriptedService service;
    int const descriptor = service.getStopDescriptor();
    EXPECT_FALSE(isReadable(descriptor));

    service.signalStop();
    service.signalStop();
    service.sleep(0);

    EXPECT_TRUE(isReadable(descriptor));
    EXPECT_EQ(service.getStopDescriptor(), descriptor);
}

TEST(CService, ShowsAStopThatCameBeforeTheDescriptor) {
    ScriptedService service;
    service.signalStop();

    EXPECT_TRUE(isReadable(service.getStopDescriptor()));
}

TEST(CService, ShowsAReloadByADescriptorUntilItIsMade) {
    ScriptedService service;
    int const descriptor = service.getReloadDescriptor();
    EXPECT_FALSE(isReadable(descriptor));

    service.signalReload();
    service.signalReload();
    EXPECT_TRUE(isReadable(descriptor));

    service.sleep(0);
    EXPECT_FALSE(isReadable(descriptor));

    service.signalReload();
    EXPECT_TRUE(isReadable(descriptor));
}

TEST(CService, ShowsAReloadThatCameBeforeTheDescriptor) {
    ScriptedService service;
    service.signalReload();

    EXPECT_TRUE(isReadable(service.getReloadDescriptor()));
}

TEST(CService, HasNoDescriptorsUntilItIsAskedAndNoneAfterwards) {
    auto const before = test::descriptorsOf(getpid());
    {
        ScriptedService service;
        service.signalReload();
        service.sleep(0);
        service.signalStop();
        EXPECT_EQ(test::descriptorsOf(getpid()), before);

        service.getStopDescriptor();
        service.getReloadDescriptor();
        EXPECT_EQ(test::descriptorsOf(getpid()).size(), before.size() + 2);
    }
    EXPECT_EQ(test::descriptorsOf(getpid()), before);
}

TEST(CService, SaysThatTheSystemGivesNoDescriptor) {
    test::Outcome const outcome = test::runInChild([] {
        test::refuseSystemCall(SYS_eventfd2, EMFILE);
        ScriptedService service;
        std::cout << test::messageOf([&] { service.getStopDescriptor(); });
        service.signalStop();
        service.sleep(kForever);
    });

    EXPECT_EQ(outcome.output, "eventfd failed: Too many open files.");
}

TEST(CService, ReportsItsStatusToTheSupervisor) {
    test::Supervisor const supervisor;

    dmn::CService::reportStatus("Serving\n3 clients");

    EXPECT_THAT(supervisor.messages(), ElementsAre("STATUS=Serving 3 clients"));
}

/// A service that a manager runs, under a supervisor.
class RunningService : public testing::Test {
protected:
    /// Runs the service, and returns what the supervisor hears of this action in its run().
    std::vector<std::string> messagesOf(std::function<void()> const& action) {
        std::vector<std::string> messages;
        m_service->onRun = [&] {
            m_supervisor.messages();
            action();
            messages = m_supervisor.messages();
        };
        m_manager->runDaemon(m_service.get());
        return messages;
    }

    void reload() {
        m_service->signalReload();
        m_service->sleep(0);
    }

    test::TemporaryFolder m_folder;
    test::CapturedLog m_log;
    test::Supervisor m_supervisor;
    fdn::P<dmn::CDaemonManager> m_manager = fdn::newObj<dmn::CDaemonManager>();
    fdn::P<ScriptedService> m_service = fdn::newObj<ScriptedService>(m_folder.path());
};

constexpr char kReloading[] = "RELOADING=1\nMONOTONIC_USEC=[0-9]+\nSTATUS=Reloading";

TEST_F(RunningService, TellsOfAReload) {
    EXPECT_THAT(messagesOf([&] { reload(); }),
                ElementsAre(MatchesRegex(kReloading), "READY=1\nSTATUS=Running"));
}

TEST_F(RunningService, TellsWhenItHasBegunToReload) {
    timespec before = {};
    clock_gettime(CLOCK_MONOTONIC, &before);

    std::string const message = messagesOf([&] { reload(); })[0];

    long long const begin = std::stoll(message.substr(message.find("USEC=") + 5));
    timespec after = {};
    clock_gettime(CLOCK_MONOTONIC, &after);
    EXPECT_GE(begin, before.tv_sec * 1000000LL + before.tv_nsec / 1000);
    EXPECT_LE(begin, after.tv_sec * 1000000LL + after.tv_nsec / 1000);
}

TEST_F(RunningService, TellsWhyAReloadHasFailed) {
    m_service->onReload = [] { throw std::runtime_error("No settings."); };

    EXPECT_THAT(messagesOf([&] { reload(); }),
                ElementsAre(MatchesRegex(kReloading), "READY=1\nSTATUS=Reloading has failed: No settings."));
}

TEST_F(RunningService, DoesNotSayThatItIsReadyWhenAReloadInItsInitIs) {
    m_service->onInit = [&] {
        m_supervisor.messages();
        reload();
        EXPECT_THAT(m_supervisor.messages(), IsEmpty());
    };

    messagesOf([] {});

    EXPECT_EQ(m_service->reloads, 1);
}

TEST_F(RunningService, DoesNotSayThatItIsReadyWhenItIsStoppedDuringAReload) {
    m_service->onReload = [&] { m_manager->signalStop(); };

    EXPECT_THAT(messagesOf([&] { reload(); }), ElementsAre(MatchesRegex(kReloading), "STOPPING=1"));
}

TEST_F(RunningService, SleepsInItsInitUntilItIsStopped) {
    m_service->onInit = [&] {
        EXPECT_TRUE(endsSleep(*m_service, [&] { m_manager->signalStop(); }));
        EXPECT_FALSE(m_service->sleep(kForever));
    };

    m_manager->runDaemon(m_service.get());
}

TEST_F(RunningService, DoesNotSleepWhenItsManagerWasStoppedBefore) {
    m_manager->signalStop();
    m_service->onRun = [&] { EXPECT_FALSE(m_service->sleep(kForever)); };

    m_manager->runDaemon(m_service.get());
}

} // namespace
