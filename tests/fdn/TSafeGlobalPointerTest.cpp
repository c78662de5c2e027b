#include "support/BackgroundCall.h"
#include "support/Program.h"
#include "support/TemporaryFolder.h"
#include "support/await.h"
#include "support/errors.h"

#include <fdn/TSafeGlobalPointer.h>

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using fdn::P;

namespace {

class Thing : public fdn::CBase {
public:
    explicit Thing(int value = 0, bool* isGone = nullptr) : m_value(value), m_isGone(isGone) {}

    Thing(Thing const&) = delete;
    Thing& operator=(Thing const&) = delete;

    ~Thing() override {
        if (m_isGone != nullptr)
            *m_isGone = true;
    }

    int value() const { return m_value; }

private:
    int m_value;
    bool* m_isGone;
};

using Global = fdn::TSafeGlobalPointer<Thing>;

char theGuard = 0;
char innerGuard = 0;
std::atomic<int> creations{0};
std::function<P<Thing>()> creation;

char& guard() {
    return theGuard;
}

P<Thing> create() {
    ++creations;
    return creation();
}

/// Uses the global and returns what that throws, as text; empty when it throws nothing.
std::string failureOf(Global& global) {
    try {
        *global;
    } catch (fdn::CError const& error) {
        return error.getMessage().toUTF8();
    } catch (std::exception const& error) {
        return error.what();
    } catch (...) {
        return "something";
    }
    return "";
}

constexpr char laterFailure[] = "Construction of static object has failed.";

/// Gives each test a global of its own, made from the guard and the create function above.
class TSafeGlobalPointer : public testing::Test {
protected:
    TSafeGlobalPointer() {
        theGuard = 0;
        innerGuard = 0;
        creations = 0;
        creation = [] { return fdn::newObj<Thing>(42); };
    }

    ~TSafeGlobalPointer() override { creation = nullptr; }

    Global m_global{&guard, &create};
};

/// A thread that uses the global and remembers what came of it.
class User {
public:
    explicit User(Global& global)
        : m_use([this, &global] {
              m_failure = failureOf(global);
              m_hasEnded = true;
          }) {}

    /// Whether the user began to wait in the middle of the use.
    bool awaitWaiting() const { return m_use.getsBlocked(); }

    std::string failure() const {
        EXPECT_TRUE(test::await([this] { return m_hasEnded.load(); }));
        return m_failure;
    }

private:
    std::string m_failure;
    std::atomic<bool> m_hasEnded{false};
    test::BackgroundCall m_use;
};

} // namespace

TEST_F(TSafeGlobalPointer, IsNotConstructedBeforeItIsUsed) {
    EXPECT_FALSE(m_global._isConstructed());
    EXPECT_EQ(creations, 0);
}

TEST_F(TSafeGlobalPointer, FirstUseConstructsTheObject) {
    EXPECT_EQ(m_global->value(), 42);

    EXPECT_TRUE(m_global._isConstructed());
    EXPECT_EQ(creations, 1);
}

TEST_F(TSafeGlobalPointer, EveryUseGivesTheSameObject) {
    Thing* const first = &*m_global;

    EXPECT_EQ(&*m_global, first);
    EXPECT_EQ(m_global.operator->(), first);
    EXPECT_EQ(creations, 1);
}

TEST_F(TSafeGlobalPointer, SetsItsGuardForTheConstructionAndAfterIt) {
    int duringConstruction = 0;
    creation = [&duringConstruction] {
        duringConstruction = theGuard;
        return fdn::newObj<Thing>();
    };

    *m_global;

    EXPECT_EQ(duringConstruction, 1);
    EXPECT_EQ(theGuard, 1);
}

TEST_F(TSafeGlobalPointer, FirstUserSeesTheExceptionOfTheCreateFunction) {
    creation = []() -> P<Thing> { throw std::runtime_error("no thing today"); };

    EXPECT_EQ(failureOf(m_global), "no thing today");

    EXPECT_EQ(theGuard, 0);
}

TEST_F(TSafeGlobalPointer, LaterUsersOfAFailedGlobalGetAnErrorWithoutAnotherAttempt) {
    creation = []() -> P<Thing> { throw std::runtime_error("no thing today"); };
    failureOf(m_global);

    EXPECT_EQ(failureOf(m_global), laterFailure);
    EXPECT_EQ(failureOf(m_global), laterFailure);

    EXPECT_EQ(creations, 1);
}

TEST_F(TSafeGlobalPointer, ErrorOfLaterUsersCarriesNothingButItsMessage) {
    creation = []() -> P<Thing> { throw std::runtime_error("no thing today"); };
    failureOf(m_global);

    fdn::CError const error = test::errorOf([this] { m_global._isConstructed(); });

    EXPECT_EQ(error.getMessage(), laterFailure);
    EXPECT_EQ(error.getSecondText(), "");
    EXPECT_EQ(error.getCode(), -1);
    EXPECT_TRUE(error.getProps().empty());
    EXPECT_FALSE(error.getCause());
}

TEST_F(TSafeGlobalPointer, WhatIsNoStandardExceptionFailsItToo) {
    creation = []() -> P<Thing> { throw 42; };

    EXPECT_EQ(failureOf(m_global), "something");
    EXPECT_EQ(failureOf(m_global), laterFailure);
}

TEST_F(TSafeGlobalPointer, ManyThreadsConstructItOnce) {
    std::vector<std::thread> threads;
    std::atomic<int> sum{0};

    for (int i = 0; i < 16; ++i)
        threads.emplace_back([&] { sum += m_global->value(); });
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_EQ(sum, 16 * 42);
    EXPECT_EQ(creations, 1);
}

TEST_F(TSafeGlobalPointer, ThreadThatArrivesDuringTheConstructionWaitsForIt) {
    std::atomic<bool> isCreating{false};
    std::atomic<bool> mayEnd{false};
    creation = [&] {
        isCreating = true;
        EXPECT_TRUE(test::await([&] { return mayEnd.load(); }));
        return fdn::newObj<Thing>(42);
    };

    User const first(m_global);
    EXPECT_TRUE(test::await([&] { return isCreating.load(); }));
    User const second(m_global);
    EXPECT_TRUE(second.awaitWaiting());
    EXPECT_FALSE(m_global._isConstructed());
    mayEnd = true;

    EXPECT_EQ(first.failure(), "");
    EXPECT_EQ(second.failure(), "");
    EXPECT_EQ(creations, 1);
}

TEST_F(TSafeGlobalPointer, ThreadThatWaitsForAConstructionThatFailsIsALaterUser) {
    std::atomic<bool> isCreating{false};
    std::atomic<bool> mayEnd{false};
    creation = [&]() -> P<Thing> {
        isCreating = true;
        EXPECT_TRUE(test::await([&] { return mayEnd.load(); }));
        throw std::runtime_error("no thing today");
    };

    User const first(m_global);
    EXPECT_TRUE(test::await([&] { return isCreating.load(); }));
    User const second(m_global);
    EXPECT_TRUE(second.awaitWaiting());
    mayEnd = true;

    EXPECT_EQ(first.failure(), "no thing today");
    EXPECT_EQ(second.failure(), laterFailure);
    EXPECT_EQ(creations, 1);
}

TEST_F(TSafeGlobalPointer, IsConstructedUnderTheGlobalMutex) {
    std::optional<test::BackgroundCall> other;
    creation = [&other] {
        other.emplace([] {
            fdn::CMutexLock const lock(fdn::getGlobalMutex());
            EXPECT_EQ(creations, 2);
        });
        EXPECT_TRUE(other->getsBlocked());
        creations = 2;
        return fdn::newObj<Thing>();
    };

    *m_global;
}

TEST_F(TSafeGlobalPointer, MayUseAnotherGlobalInItsConstruction) {
    fdn::TSafeGlobalPointer<Thing> inner([]() -> char& { return innerGuard; },
                                         [] { return fdn::newObj<Thing>(20); });
    creation = [&inner] { return fdn::newObj<Thing>(inner->value() + 1); };

    EXPECT_EQ(m_global->value(), 21);
}

TEST_F(TSafeGlobalPointer, UserThatFoundItUnderConstructionWaitsForNoOtherGlobal) {
    std::atomic<bool> mayEnd{false};
    creation = [&mayEnd] {
        EXPECT_TRUE(test::await([&] { return mayEnd.load(); }));
        return fdn::newObj<Thing>(42);
    };
    auto lock = std::make_unique<fdn::CMutexLock>(fdn::getGlobalMutex());
    std::atomic<bool> hasBeenUsed{false};
    std::thread helper([&] {
        EXPECT_TRUE(test::await([] { return creations == 1; }));
        User const user(m_global);
        EXPECT_TRUE(user.awaitWaiting());
        mayEnd = true;
        EXPECT_EQ(user.failure(), "");
        hasBeenUsed = true;
    });

    *m_global;

    EXPECT_TRUE(test::await([&] { return hasBeenUsed.load(); }));
    lock.reset();
    helper.join();
}

TEST_F(TSafeGlobalPointer, DestroysItsObjectWhenItGoes) {
    bool isGone = false;
    creation = [&isGone] { return fdn::newObj<Thing>(0, &isGone); };

    {
        Global global(&guard, &create);
        *global;
        EXPECT_FALSE(isGone);
    }

    EXPECT_TRUE(isGone);
}

TEST_F(TSafeGlobalPointer, LeavesAnObjectThatOthersHoldAliveWhenItGoes) {
    bool isGone = false;
    P<Thing> const thing = fdn::newObj<Thing>(0, &isGone);
    creation = [&thing] { return thing; };

    {
        Global global(&guard, &create);
        *global;
    }

    EXPECT_FALSE(isGone);
}

TEST(SafeGlobalObjects, MayJoinPathsInTheirConstruction) {
    EXPECT_EQ(test::run({DMN_USE_GLOBALS, "join-in-construction"}).status, 0);
}

TEST(SafeGlobalObjects, KeepNobodyFromLoggingWhileTheyAreConstructed) {
    test::TemporaryFolder const folder;

    test::Outcome const outcome =
        test::run({DMN_USE_GLOBALS, "log-in-construction"}, {{"XDG_STATE_HOME", folder.name("state")}});

    EXPECT_EQ(outcome.signal, 0);
    EXPECT_EQ(outcome.status, 0);
}

TEST(SafeGlobalObjects, AreAnErrorOnceTheyAreDestroyed) {
    EXPECT_EQ(test::run({DMN_USE_GLOBALS, "use-destroyed"}).status, 0);
}
