#include <fdn/CBase.h>
#include <fdn/CError.h>

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <functional>
#include <thread>
#include <vector>

namespace {

/// Counts its deletions in the given variable.
class Counted : public fdn::CBase {
public:
    explicit Counted(int& deletions) : m_deletions(&deletions) {}

    Counted(Counted const&) = default;
    Counted& operator=(Counted const&) = default;

    ~Counted() override { ++*m_deletions; }

private:
    int* m_deletions;
};

/// Performs an action in its destructor.
class Dying : public fdn::CBase {
public:
    explicit Dying(std::function<void(Dying const&)> const& action) : m_action(action) {}

    Dying(Dying const&) = delete;
    Dying& operator=(Dying const&) = delete;

    ~Dying() override { m_action(*this); }

private:
    std::function<void(Dying const&)> m_action;
};

/// Throws after deleting itself.
class Failing : public fdn::CBase {
public:
    void deleteThis() override {
        CBase::deleteThis();
        throw fdn::CError("cannot go");
    }
};

class IFirst : public virtual fdn::IBase {};

class ISecond : public virtual fdn::IBase {};

class Both : public Counted, public virtual IFirst, public virtual ISecond {
public:
    using Counted::Counted;
};

} // namespace

TEST(CBase, NewObjectIsDeletedByTheFirstRelease) {
    int deletions = 0;
    auto* const object = new Counted(deletions);

    bool const livesOn = object->release();

    EXPECT_FALSE(livesOn);
    EXPECT_EQ(deletions, 1);
}

TEST(CBase, ReleaseOfOneOfTwoReferencesReturnsTrueAndLeavesTheObjectAlive) {
    int deletions = 0;
    auto* const object = new Counted(deletions);
    object->addRef();

    bool const livesOn = object->release();

    EXPECT_TRUE(livesOn);
    EXPECT_EQ(deletions, 0);
    EXPECT_FALSE(object->release());
    EXPECT_EQ(deletions, 1);
}

TEST(CBase, ObjectWhoseDestructorTakesAndDropsReferencesToItselfIsDeletedOnce) {
    int deletions = 0;
    auto* const object = new Dying([&](Dying const& self) {
        ++deletions;
        for (int i = 0; i < 3; ++i) {
            self.addRef();
            EXPECT_TRUE(self.release());
        }
    });

    EXPECT_FALSE(object->release());

    EXPECT_EQ(deletions, 1);
}

TEST(CBase, WhatTheObjectThrowsAtItsEndReachesTheCallerOfRelease) {
    auto* const object = new Failing;

    EXPECT_THROW(object->release(), fdn::CError);
}

TEST(CBase, DeleteThisDestroysTheObjectThroughItsVirtualDestructor) {
    int deletions = 0;
    fdn::IBase* const object = new Counted(deletions);

    object->deleteThis();

    EXPECT_EQ(deletions, 1);
}

TEST(CBase, CopyHasOneReferenceHoweverManyTheOriginalHas) {
    int deletions = 0;
    Counted original(deletions);
    original.addRef();

    auto* const copy = new Counted(original);

    EXPECT_FALSE(copy->release());
    EXPECT_EQ(deletions, 1);
}

TEST(CBase, AssignmentLeavesTheCountsAlone) {
    int deletions = 0;
    int deletionsOfSource = 0;
    auto* const target = new Counted(deletions);
    auto* const source = new Counted(deletionsOfSource);
    source->addRef();

    *target = *source;

    EXPECT_FALSE(target->release());
    EXPECT_TRUE(source->release());
    EXPECT_FALSE(source->release());
}

TEST(CBase, CastIsAllowedToEveryType) {
    int deletions = 0;
    Counted const object(deletions);

    EXPECT_TRUE(object.checkCastAllowed(typeid(Counted)));
    EXPECT_TRUE(object.checkCastAllowed(typeid(int)));
}

TEST(CBase, ObjectReachedThroughSeveralInterfacesHasOneCount) {
    int deletions = 0;
    auto* const object = new Both(deletions);
    IFirst* const first = object;
    ISecond* const second = object;

    first->addRef();

    EXPECT_TRUE(second->release());
    EXPECT_FALSE(object->release());
    EXPECT_EQ(deletions, 1);
}

TEST(CBase, ReferencesMayBeTakenAndDroppedByManyThreads) {
    constexpr int takerCount = 8;
    int deletions = 0;
    std::array<int, takerCount> written{};
    auto* const object = new Dying([&](Dying const&) {
        ++deletions;
        for (int const value : written)
            EXPECT_EQ(value, 1);
    });
    std::vector<std::thread> threads;

    for (int& place : written) {
        object->addRef();
        threads.emplace_back([&place, object] {
            for (int i = 0; i < 1000; ++i) {
                object->addRef();
                object->release();
            }
            place = 1;
            object->release();
        });
    }
    object->release();
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_EQ(deletions, 1);
}

namespace {

constexpr int threadCount = 4;
constexpr int callsPerThread = 2'000'000;

/// Makes the call many times on each of several threads, which all begin at once.
void performAtOnce(std::function<void()> const& call) {
    std::atomic<int> missing{threadCount};
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; ++i) {
        threads.emplace_back([&] {
            --missing;
            while (missing > 0)
                std::this_thread::yield();
            for (int calls = 0; calls < callsPerThread; ++calls)
                call();
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

/// Drops all references. Returns how many there were.
int dropAll(fdn::CBase const* object) {
    int count = 1;
    while (object->release())
        ++count;
    return count;
}

} // namespace

TEST(CBase, LosesNoReferenceThatThreadsTakeAtOnce) {
    int deletions = 0;
    auto* const object = new Counted(deletions);

    performAtOnce([object] { object->addRef(); });

    EXPECT_EQ(dropAll(object), threadCount * callsPerThread + 1);
    EXPECT_EQ(deletions, 1);
}

TEST(CBase, KeepsNoReferenceThatThreadsDropAtOnce) {
    int deletions = 0;
    auto* const object = new Counted(deletions);
    for (int i = 0; i < threadCount * callsPerThread; ++i)
        object->addRef();

    performAtOnce([object] { object->release(); });

    EXPECT_EQ(dropAll(object), 1);
    EXPECT_EQ(deletions, 1);
}
