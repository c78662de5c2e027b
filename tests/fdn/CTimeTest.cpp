#include "support/SignalTreatment.h"

#include <fdn/CThread.h>
#include <fdn/CTime.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <limits>
#include <thread>
#include <vector>

#include <pthread.h>
#include <signal.h>
#include <sys/prctl.h>

using fdn::CTime;

namespace {

std::int64_t systemMicroseconds() {
    auto const now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::microseconds>(now).count();
}

std::int64_t microsecondsNow() {
    return CTime::now().getMicroseconds();
}

} // namespace

TEST(CTime, KeepsItsMicroseconds) {
    std::int64_t const largest = std::numeric_limits<std::int64_t>::max();

    EXPECT_EQ(CTime(largest).getMicroseconds(), largest);
    EXPECT_EQ(CTime(-1).getMicroseconds(), -1);
}

TEST(CTime, NowIsWhatTheSystemsClockSays) {
    std::int64_t const tolerance = 1'000'000;
    std::int64_t const before = systemMicroseconds();

    std::int64_t const now = microsecondsNow();

    std::int64_t const after = systemMicroseconds();
    EXPECT_GE(now, before - tolerance);
    EXPECT_LE(now, after + tolerance);
}

TEST(CTime, NowNeverGoesBackwards) {
    std::int64_t last = microsecondsNow();

    for (int i = 0; i < 100'000; ++i) {
        std::int64_t const now = microsecondsNow();
        ASSERT_GE(now, last);
        last = now;
    }
}

TEST(CTime, NowNeverGoesBackwardsFromThreadToThread) {
    std::int64_t last = microsecondsNow();

    for (int i = 0; i < 100; ++i) {
        std::int64_t now = 0;
        std::thread([&now] { now = microsecondsNow(); }).join();
        ASSERT_GE(now, last);
        last = now;
    }
}

TEST(CTime, NowMovesOnByTheTimeThatPasses) {
    auto const steadyBefore = std::chrono::steady_clock::now();
    std::int64_t const before = microsecondsNow();

    fdn::CThread::sleep(20);

    std::int64_t const passed = microsecondsNow() - before;
    auto const steadyPassed = std::chrono::steady_clock::now() - steadyBefore;
    EXPECT_GE(passed, 20'000);
    EXPECT_LE(passed, std::chrono::duration_cast<std::chrono::microseconds>(steadyPassed).count() + 1);
}

TEST(CThread, SleepsForAtLeastTheGivenMilliseconds) {
    auto const before = std::chrono::steady_clock::now();

    fdn::CThread::sleep(30);

    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(30));
}

TEST(CThread, SleepIsNotShortenedByASignal) {
    test::SignalTreatment const handled(SIGUSR1, [](int) {});
    auto const before = std::chrono::steady_clock::now();
    pthread_t const sleeper = pthread_self();
    std::thread disturber([sleeper] {
        for (int i = 0; i < 5; ++i) {
            fdn::CThread::sleep(5);
            pthread_kill(sleeper, SIGUSR1);
        }
    });

    fdn::CThread::sleep(60);

    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(60));
    disturber.join();
}

// A sleep that resumes after every signal for the time that remains is prolonged each time by its timer's
// slack. The slack is large here, so that few signals have the effect of many.
TEST(CThread, SleepIsNotProlongedByAStormOfSignals) {
    test::SignalTreatment const handled(SIGUSR1, [](int) {});
    std::atomic<bool> hasSlept{false};
    std::thread sleeper([&hasSlept] {
        prctl(PR_SET_TIMERSLACK, 20'000'000UL);
        fdn::CThread::sleep(50);
        hasSlept = true;
    });

    for (int i = 0; i < 500 && !hasSlept; ++i) {
        pthread_kill(sleeper.native_handle(), SIGUSR1);
        fdn::CThread::sleep(1);
    }

    EXPECT_TRUE(hasSlept);
    sleeper.join();
}

TEST(CThread, YieldReturns) {
    fdn::threadYield(true);
    fdn::threadYield(false);

    SUCCEED();
}
