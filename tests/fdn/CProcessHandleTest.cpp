#include <fdn/CProcessHandle.h>
#include <fdn/CThread.h>

#include "support/BackgroundCall.h"
#include "support/Obstacles.h"
#include "support/Program.h"
#include "support/await.h"
#include "support/processInfo.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <iostream>
#include <string>

#include <sys/syscall.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

using fdn::CProcessHandle;

constexpr int kMinuteMs = 60000;

// In a child of the test, because the system's refusal cannot be taken back. The output is what came of it:
// whether the signal was sent, and errno.
std::string signalWhereRefused(pid_t process, long call, int error) {
    return test::runInChild([=] {
               test::refuseSystemCall(call, error);
               errno = 0;
               bool const isSent = CProcessHandle(process).sendSignal(SIGTERM);
               std::cout << isSent << ' ' << errno;
           })
        .output;
}

// In a child of the test, as above; the process is a child of that child. The output is what awaitEnd() says
// of it before and after its end.
std::string awaitWhereRefused(long call, int error) {
    return test::runInChild([=] {
               test::refuseSystemCall(call, error);
               pid_t const process = fork();
               if (process == 0)
                   pause();
               CProcessHandle const handle(process);
               std::cout << handle.awaitEnd(0) << handle.awaitEnd(60);
               kill(process, SIGKILL);
               std::cout << handle.awaitEnd(kMinuteMs);
           })
        .output;
}

void ignoreSignal(int) {}

/// While it lives, a signal interrupts this process every few milliseconds.
class ManySignals {
public:
    ManySignals() {
        struct sigaction treatment = {};
        treatment.sa_handler = &ignoreSignal;
        sigaction(SIGALRM, &treatment, nullptr);
        set(3000);
    }

    ManySignals(ManySignals const&) = delete;
    ManySignals& operator=(ManySignals const&) = delete;

    ~ManySignals() {
        set(0);
        signal(SIGALRM, SIG_DFL);
    }

private:
    static void set(suseconds_t microseconds) {
        itimerval const interval = {{0, microseconds}, {0, microseconds}};
        setitimer(ITIMER_REAL, &interval, nullptr);
    }
};

} // namespace

TEST(CProcessHandle, SendsTheSignal) {
    test::Program process({"sleep", "1000"});

    EXPECT_TRUE(CProcessHandle(process.pid()).sendSignal(SIGTERM));

    EXPECT_EQ(process.wait().signal, SIGTERM);
}

TEST(CProcessHandle, AsksWithoutSendingBySignal0) {
    test::Program process({"sleep", "1000"});
    CProcessHandle const handle(process.pid());

    EXPECT_TRUE(handle.sendSignal(0));

    EXPECT_TRUE(handle.sendSignal(SIGVTALRM));
    EXPECT_EQ(process.wait().signal, SIGVTALRM);
}

TEST(CProcessHandle, OfAProcessThatHasEndedMeanwhileSendsNothing) {
    test::Program process({"sleep", "1000"});
    CProcessHandle const handle(process.pid());
    process.sendSignal(SIGKILL);
    process.wait();

    EXPECT_FALSE(handle.sendSignal(SIGTERM));
    EXPECT_EQ(errno, ESRCH);
}

TEST(CProcessHandle, OfAProcessThatWasGoneSendsNothing) {
    test::Program process({"true"});
    process.wait();
    CProcessHandle const handle(process.pid());

    EXPECT_FALSE(handle.sendSignal(SIGTERM));
    EXPECT_EQ(errno, ESRCH);
}

TEST(CProcessHandle, NeverSignalsAGroupOfProcesses) {
    test::Outcome const outcome = test::runInChild([] {
        setpgid(0, 0);
        for (pid_t const group : {0, -getpid()})
            std::cout << CProcessHandle(group).sendSignal(SIGTERM) << ' ' << (errno == ESRCH) << ' ';
    });

    EXPECT_EQ(outcome.output, "0 1 0 1 ");
    EXPECT_EQ(outcome.signal, 0);
}

TEST(CProcessHandle, SendsByNumberWhereTheSystemGivesNoHandle) {
    test::Program process({"sleep", "1000"});

    EXPECT_EQ(signalWhereRefused(process.pid(), SYS_pidfd_open, ENOSYS).substr(0, 1), "1");

    EXPECT_EQ(process.wait().signal, SIGTERM);
}

TEST(CProcessHandle, SendsByNumberWhereTheSystemKnowsNoUseForTheHandle) {
    test::Program process({"sleep", "1000"});

    EXPECT_EQ(signalWhereRefused(process.pid(), SYS_pidfd_send_signal, ENOSYS).substr(0, 1), "1");

    EXPECT_EQ(process.wait().signal, SIGTERM);
}

TEST(CProcessHandle, SaysThatTheSystemRefusesTheSignal) {
    test::Program const process({"sleep", "1000"});

    EXPECT_EQ(signalWhereRefused(process.pid(), SYS_pidfd_send_signal, EPERM), "0 " + std::to_string(EPERM));
}

TEST(CProcessHandle, LeavesNoDescriptorOpen) {
    test::Program const process({"sleep", "1000"});
    auto const before = test::descriptorsOf(getpid());

    CProcessHandle(process.pid()).sendSignal(0);

    EXPECT_EQ(test::descriptorsOf(getpid()), before);
}

TEST(CProcessHandle, AwaitsTheEndOfTheProcess) {
    test::Program process({"sleep", "1000"});
    CProcessHandle const handle(process.pid());
    EXPECT_FALSE(handle.awaitEnd(0));

    test::BackgroundCall const waiting([&] { EXPECT_TRUE(handle.awaitEnd(kMinuteMs)); });
    EXPECT_TRUE(waiting.getsBlocked());
    process.sendSignal(SIGKILL);
}

// The kernel tells of the end at once; whoever looked from time to time would learn of it late.
TEST(CProcessHandle, DoesNotWakeUpWhileItAwaitsTheEnd) {
    test::Program process({"sleep", "1000"});
    CProcessHandle const handle(process.pid());
    std::atomic<pid_t> thread{0};
    test::BackgroundCall const waiting([&] {
        thread = gettid();
        handle.awaitEnd(kMinuteMs);
    });
    ASSERT_TRUE(test::await([&] { return thread != 0; }));
    ASSERT_TRUE(waiting.getsBlocked());
    auto const countSleeps = [&] { return std::stol(test::statusOf(thread, "voluntary_ctxt_switches")); };

    long const before = countSleeps();
    fdn::CThread::sleep(500);
    EXPECT_LE(countSleeps() - before, 2); // it may have slept on its way

    process.sendSignal(SIGKILL);
}

// The process stays a zombie until wait().
TEST(CProcessHandle, TakesAZombieForEnded) {
    test::Program process({"true"});
    CProcessHandle const handle(process.pid());

    EXPECT_TRUE(handle.awaitEnd(kMinuteMs));
    EXPECT_TRUE(handle.awaitEnd(0));

    process.wait();
    EXPECT_TRUE(handle.awaitEnd(0));
}

TEST(CProcessHandle, OfNoProcessHasNothingToAwait) {
    test::Program process({"true"});
    process.wait();

    for (pid_t const gone : {process.pid(), 0, -1, -getpid()})
        EXPECT_TRUE(CProcessHandle(gone).awaitEnd(kMinuteMs)) << gone;
}

TEST(CProcessHandle, TakesTheShortestAndTheLongestTimeToWait) {
    test::Program process({"sleep", "1000"});
    CProcessHandle const handle(process.pid());

    for (int const none : {INT_MIN, -1, 0})
        EXPECT_FALSE(handle.awaitEnd(none));

    test::BackgroundCall const waiting([&] { EXPECT_TRUE(handle.awaitEnd(INT_MAX)); });
    EXPECT_TRUE(waiting.getsBlocked());
    process.sendSignal(SIGKILL);
}

TEST(CProcessHandle, EndsItsWaitHoweverManySignalsCome) {
    test::Program const process({"sleep", "1000"});
    ManySignals const signals;

    EXPECT_FALSE(CProcessHandle(process.pid()).awaitEnd(100));
}

TEST(CProcessHandle, WaitsItsFullTimeHoweverManySignalsCome) {
    test::Program const process({"sleep", "1000"});
    ManySignals const signals;
    auto const start = std::chrono::steady_clock::now();

    CProcessHandle(process.pid()).awaitEnd(100);

    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(100));
}

TEST(CProcessHandle, LooksForTheEndWhereTheSystemGivesNoHandle) {
    EXPECT_EQ(awaitWhereRefused(SYS_pidfd_open, ENOSYS), "001");
    EXPECT_EQ(awaitWhereRefused(SYS_pidfd_open, EPERM), "001");
}
