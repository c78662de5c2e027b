#include "support/BackgroundCall.h"
#include "support/await.h"

#include <fdn/CMutex.h>

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using fdn::CMutex;
using fdn::CMutexLock;

namespace {

/// A thread that waits for the mutex, then notes the value that it finds.
class Waiter {
public:
    Waiter(fdn::IMutex& mutex, int const& value)
        : m_wait([&] {
              CMutexLock const lock(mutex);
              m_found = value;
          }) {}

    bool awaitSleep() const { return m_wait.getsBlocked(); }

    bool awaitValue(int expected) const {
        return test::await([&] { return m_found != -1; }) && m_found == expected;
    }

private:
    std::atomic<int> m_found{-1};
    test::BackgroundCall m_wait;
};

/// Records the calls that it gets.
class RecordingMutex : public fdn::CBase, public virtual fdn::IMutex {
public:
    void addRef() const override { m_record += "addRef "; }

    bool release() const override {
        m_record += "release ";
        return true;
    }

    void lock() override { m_record += "lock "; }

    void unlock() override { m_record += "unlock "; }

    std::string const& record() const { return m_record; }

private:
    mutable std::string m_record;
};

} // namespace

TEST(CMutex, LetsOneThreadInAtATime) {
    CMutex mutex;
    int counter = 0;
    std::vector<std::thread> threads;

    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&] {
            for (int n = 0; n < 1000; ++n) {
                CMutexLock const lock(mutex);
                ++counter;
            }
        });
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_EQ(counter, 8000);
}

TEST(CMutex, BelongsToItsOwnerUntilUnlockedAsOftenAsLocked) {
    CMutex mutex;
    int value = 0;

    mutex.lock();
    mutex.lock();
    Waiter const other(mutex, value);
    EXPECT_TRUE(other.awaitSleep());
    value = 1;
    mutex.unlock();
    EXPECT_TRUE(other.awaitSleep());
    value = 2;
    mutex.unlock();

    EXPECT_TRUE(other.awaitValue(2));
}

TEST(CMutexLock, LocksWhileItLives) {
    CMutex mutex;
    int value = 0;
    {
        CMutexLock const lock(mutex);
        Waiter const other(mutex, value);
        EXPECT_TRUE(other.awaitSleep());
        value = 1;
        mutex.unlock();
        EXPECT_TRUE(other.awaitValue(1));
        mutex.lock();
    }
    Waiter const later(mutex, value);

    EXPECT_TRUE(later.awaitValue(1));
}

TEST(CMutexLock, HoldsAReferenceFromBeforeTheLockUntilAfterTheUnlock) {
    RecordingMutex mutex;

    { CMutexLock const lock(mutex); }

    EXPECT_EQ(mutex.record(), "addRef lock unlock release ");
}

TEST(CMutexLock, UnlocksWhenAnExceptionPasses) {
    RecordingMutex mutex;

    try {
        CMutexLock const lock(mutex);
        throw std::runtime_error("passing");
    } catch (std::runtime_error const&) {
    }

    EXPECT_EQ(mutex.record(), "addRef lock unlock release ");
}

TEST(CMutexLock, KeepsTheMutexAlive) {
    auto* const mutex = new CMutex;

    {
        CMutexLock const lock(*mutex);
        EXPECT_TRUE(mutex->release());
        mutex->lock();
        mutex->unlock();
    }
}

TEST(getGlobalMutex, IsTheSameForEveryThread) {
    fdn::IMutex* other = nullptr;

    std::thread([&other] { other = &fdn::getGlobalMutex(); }).join();

    EXPECT_EQ(other, &fdn::getGlobalMutex());
}

TEST(getGlobalMutex, IsReentrant) {
    CMutexLock const first(fdn::getGlobalMutex());
    CMutexLock const second(fdn::getGlobalMutex());

    SUCCEED();
}
