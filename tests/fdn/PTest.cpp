#include <fdn/CBase.h>
#include <fdn/CError.h>
#include <fdn/P.h>

#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

using fdn::P;

namespace {

/// An object that shows its count. It belongs to the test and is never deleted.
struct Seen {
    void addRef() const { ++references; }

    bool release() const { return --references > 0; }

    mutable int references = 1;
};

struct SeenMore : Seen {};

/// Sets a flag when it goes.
class Guest : public fdn::CBase {
public:
    explicit Guest(bool& isGone) : m_isGone(isGone) {}

    ~Guest() override { m_isGone = true; }

private:
    bool& m_isGone;
};

/// Remembers what it was made from.
class Made : public fdn::CBase {
public:
    Made() = default;

    explicit Made(fdn::String const& text) : m_text(text) {}

    Made(std::unique_ptr<int> number, int& counter) : m_number(*number) { ++counter; }

    fdn::String const& text() const { return m_text; }

    int number() const { return m_number; }

private:
    fdn::String m_text;
    int m_number = 0;
};

/// Checks, as it goes, that the P that held it is empty, and then throws.
class Troublemaker : public fdn::CBase {
public:
    explicit Troublemaker(P<Troublemaker> const& holder) : m_holder(holder) {}

    void deleteThis() override {
        EXPECT_FALSE(m_holder);
        CBase::deleteThis();
        throw fdn::CError("trouble");
    }

private:
    P<Troublemaker> const& m_holder;
};

} // namespace

TEST(P, IsEmptyUnlessAnObjectIsGiven) {
    P<Seen> const none;
    P<Seen> const null(nullptr);
    P<Seen> const nullObject(static_cast<Seen*>(nullptr));

    for (P<Seen> const& empty : {none, null, nullObject}) {
        EXPECT_FALSE(empty);
        EXPECT_EQ(empty.get(), nullptr);
        EXPECT_EQ(empty, nullptr);
    }
}

TEST(P, HoldsAReferenceOfItsOwnWhileItLives) {
    Seen object;

    {
        P<Seen> const pointer(&object);

        EXPECT_EQ(object.references, 2);
        EXPECT_EQ(pointer.get(), &object);
        EXPECT_EQ(&*pointer, &object);
        EXPECT_EQ(pointer->references, 2);
        EXPECT_TRUE(pointer);
    }

    EXPECT_EQ(object.references, 1);
}

TEST(P, CopyAddsAReference) {
    Seen object;
    P<Seen> const original(&object);

    P<Seen> const copy(original);

    EXPECT_EQ(object.references, 3);
    EXPECT_EQ(copy, original);
}

TEST(P, MoveHandsTheReferenceOver) {
    Seen object;
    P<Seen> original(&object);

    P<Seen> const moved(std::move(original));

    EXPECT_EQ(object.references, 2);
    EXPECT_EQ(moved.get(), &object);
    EXPECT_EQ(original, nullptr); // NOLINT(bugprone-use-after-move): the test is about what a move leaves
}

TEST(P, AssignmentDropsTheOldReferenceAndAddsTheNew) {
    Seen first;
    Seen second;
    P<Seen> pointer(&first);
    P<Seen> const other(&second);

    pointer = other;

    EXPECT_EQ(first.references, 1);
    EXPECT_EQ(second.references, 3);
    EXPECT_EQ(pointer, other);
}

TEST(P, AssignmentToItselfKeepsTheObject) {
    Seen object;
    P<Seen> pointer(&object);
    P<Seen> const& same = pointer;

    pointer = same;

    EXPECT_EQ(object.references, 2);
    EXPECT_EQ(pointer.get(), &object);
}

TEST(P, AssignmentOfNullDropsTheReference) {
    Seen object;
    P<Seen> pointer(&object);

    pointer = nullptr;

    EXPECT_EQ(object.references, 1);
    EXPECT_EQ(pointer, nullptr);
}

TEST(P, ResetDropsTheReference) {
    Seen object;
    P<Seen> pointer(&object);

    pointer.reset();
    pointer.reset();

    EXPECT_EQ(object.references, 1);
    EXPECT_FALSE(pointer);
}

TEST(P, AdoptTakesOverTheCallersReference) {
    Seen object;

    { P<Seen> const pointer = P<Seen>::adopt(&object); }

    EXPECT_EQ(object.references, 0);
}

TEST(P, DetachLeavesTheReferenceToTheCaller) {
    Seen object;
    P<Seen> pointer(&object);

    Seen* const detached = pointer.detach();

    EXPECT_EQ(detached, &object);
    EXPECT_EQ(object.references, 2);
    EXPECT_FALSE(pointer);
}

TEST(P, OfADerivedClassConvertsToOneOfItsBase) {
    SeenMore object;
    P<SeenMore> derived(&object);

    P<Seen> const copy(derived);
    P<Seen> const moved(std::move(derived));

    EXPECT_EQ(object.references, 3);
    EXPECT_EQ(copy, moved);
    EXPECT_FALSE(derived); // NOLINT(bugprone-use-after-move): the test is about what a move leaves
}

TEST(P, IsEqualToOneThatHoldsTheSameObject) {
    Seen first;
    Seen second;

    EXPECT_TRUE(P<Seen>(&first) == P<Seen>(&first));
    EXPECT_TRUE(P<Seen>(&first) == &first);
    EXPECT_TRUE(P<Seen>(&first) != P<Seen>(&second));
    EXPECT_FALSE(P<Seen>(&first) != P<Seen>(&first));
    EXPECT_FALSE(P<Seen>(&first) == P<Seen>());
}

TEST(P, LastOneDeletesTheObject) {
    bool isGone = false;
    P<Guest> first = fdn::newObj<Guest>(isGone);
    P<Guest> second = first;

    first.reset();
    EXPECT_FALSE(isGone);
    second.reset();

    EXPECT_TRUE(isGone);
}

TEST(P, OfDifferentThreadsMayHoldOneObject) {
    bool isGone = false;
    P<Guest> object = fdn::newObj<Guest>(isGone);
    std::vector<std::thread> threads;

    for (int i = 0; i < 8; ++i)
        threads.emplace_back([mine = object] {
            for (int n = 0; n < 1000; ++n)
                P<Guest> const copy(mine);
        });
    object.reset();
    for (std::thread& thread : threads)
        thread.join();
    threads.clear();

    EXPECT_TRUE(isGone);
}

TEST(P, IsEmptyBeforeTheObjectOfAResetGoesAndLetsItsExceptionOut) {
    P<Troublemaker> pointer;
    pointer = fdn::newObj<Troublemaker>(pointer);

    EXPECT_THROW(pointer.reset(), fdn::CError);

    EXPECT_FALSE(pointer);
}

TEST(newObj, OwnsTheFirstReferenceAlone) {
    bool isGone = false;
    P<Guest> const object = fdn::newObj<Guest>(isGone);

    object->addRef();
    EXPECT_TRUE(object->release());

    EXPECT_FALSE(isGone);
}

TEST(newObj, ForwardsItsArguments) {
    int counter = 0;

    P<Made> const object = fdn::newObj<Made>(std::make_unique<int>(7), counter);

    EXPECT_EQ(object->number(), 7);
    EXPECT_EQ(counter, 1);
}

TEST(newObj, TakesArgumentsWhoseTypesAreNamed) {
    fdn::String text("named");
    fdn::String const& constant = text;

    EXPECT_EQ((fdn::newObj<Made, fdn::String>(text)->text()), "named");
    EXPECT_EQ((fdn::newObj<Made, fdn::String>(constant)->text()), "named");
    EXPECT_EQ((fdn::newObj<Made, fdn::String>(fdn::String("new"))->text()), "new");
}

TEST(newObj, NeedsNoArguments) {
    EXPECT_EQ(fdn::newObj<Made>()->number(), 0);
}
