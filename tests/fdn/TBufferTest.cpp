#include "support/cases.h"

#include <fdn/P.h>
#include <fdn/TBuffer.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <ostream>
#include <string>
#include <vector>

namespace {

using Buffer = fdn::TBuffer<wchar_t>;

/// Records the storage count of every storage that it gives up before its own end.
class WatchedBuffer : public Buffer {
public:
    using Buffer::Buffer;

    std::vector<int> givenUp;

protected:
    void deleteData(wchar_t* storage, int storageCount) override {
        if (storage != nullptr)
            givenUp.push_back(storageCount);
        Buffer::deleteData(storage, storageCount);
    }
};

template <class AnyBuffer = Buffer>
AnyBuffer bufferOf(std::wstring const& text, int allocate = -1) {
    return AnyBuffer(text.data(), static_cast<int>(text.size()), allocate);
}

/// The used elements.
std::wstring textOf(Buffer const& buffer) {
    return std::wstring(buffer.getData(), static_cast<std::size_t>(buffer.getUsed()));
}

/// How far the address of its data lies beyond a multiple of the alignment.
std::uintptr_t misalignment(Buffer const& buffer, int alignment) {
    return reinterpret_cast<std::uintptr_t>(buffer.getData()) % static_cast<std::uintptr_t>(alignment);
}

void expectCounts(Buffer const& buffer, int used, int allocated) {
    EXPECT_EQ(buffer.getUsed(), used);
    EXPECT_EQ(buffer.getAllocated(), allocated);
    EXPECT_EQ(buffer.getFree(), allocated - used);
}

void expectNoStorage(Buffer const& buffer) {
    expectCounts(buffer, 0, 0);
    EXPECT_EQ(buffer.getData(), nullptr);
}

} // namespace

TEST(TBuffer, IsEmptyAtFirst) {
    Buffer const buffer;

    expectNoStorage(buffer);
    EXPECT_EQ(buffer.getMinGrowFactor(), 0.0);
}

TEST(TBuffer, MadeForACountHasRoomForTheLargerOfUsedAndAllocated) {
    expectCounts(Buffer(5, -1), 5, 5);
    expectCounts(Buffer(3, 8), 3, 8);
    expectCounts(Buffer(8, 3), 8, 8);
    expectNoStorage(Buffer(0, 0));
    expectNoStorage(Buffer(0, -1));
}

TEST(TBuffer, MadeFromElementsCopiesThem) {
    Buffer const exact = bufferOf(L"abc");
    Buffer const roomy = bufferOf(L"abc", 10);

    EXPECT_EQ(textOf(exact), L"abc");
    expectCounts(exact, 3, 3);
    EXPECT_EQ(textOf(roomy), L"abc");
    expectCounts(roomy, 3, 10);
}

TEST(TBuffer, CopyHasTheElementsAndTheRoomOfTheOriginal) {
    Buffer const original = bufferOf(L"abc", 10);

    Buffer const copy(original);

    EXPECT_EQ(textOf(copy), L"abc");
    expectCounts(copy, 3, 10);
    EXPECT_NE(copy.getData(), original.getData());
}

TEST(TBuffer, CopyHasTheInitialSettings) {
    auto original = bufferOf<WatchedBuffer>(L"abc");
    original.setMinGrowFactor(2.0);
    original.setAllocAlignBytes(16);

    WatchedBuffer copy(original);
    copy.givenUp.clear();
    copy.clear();

    EXPECT_EQ(copy.getMinGrowFactor(), 0.0);
    EXPECT_EQ(copy.givenUp, std::vector<int>{3});
}

TEST(TBuffer, CopyOfAttachedStorageOwnsItsElements) {
    wchar_t external[] = {L'a', L'b'};
    Buffer original;
    original.attachNoDelete(external, 2);

    Buffer const copy(original);
    external[0] = L'x';

    EXPECT_EQ(textOf(copy), L"ab");
}

TEST(TBuffer, AssignmentTakesElementsAndRoomAndKeepsTheOwnSettings) {
    Buffer const source = bufferOf(L"abc", 10);
    auto assigned = bufferOf<WatchedBuffer>(L"previous");
    assigned.setMinGrowFactor(1.5);
    assigned.setAllocAlignBytes(64);

    assigned.assign(source);

    EXPECT_EQ(textOf(assigned), L"abc");
    expectCounts(assigned, 3, 10);
    EXPECT_EQ(assigned.getMinGrowFactor(), 1.5);
    EXPECT_EQ(misalignment(assigned, 64), 0U);
    EXPECT_EQ(assigned.givenUp, (std::vector<int>{8, 8 + 63}));
}

TEST(TBuffer, AssignmentAlwaysMovesToNewStorage) {
    Buffer const source = bufferOf(L"abc");
    Buffer assigned = bufferOf(L"xyz");
    wchar_t* const before = assigned.getData();

    assigned = source;

    EXPECT_NE(assigned.getData(), before);
    EXPECT_EQ(textOf(assigned), L"abc");
}

TEST(TBuffer, AssignmentToItselfKeepsTheElements) {
    Buffer buffer = bufferOf(L"abc", 10);
    Buffer const& same = buffer;

    buffer = same;

    EXPECT_EQ(textOf(buffer), L"abc");
    expectCounts(buffer, 3, 10);
}

TEST(TBuffer, AssignmentOfAnEmptyOneGivesTheStorageUp) {
    Buffer buffer = bufferOf(L"abc");

    buffer = Buffer();

    expectNoStorage(buffer);
}

TEST(TBuffer, AllocOfFewerThanUsedKeepsTheFirstOnes) {
    Buffer buffer = bufferOf(L"0123456789");

    buffer.alloc(4);

    EXPECT_EQ(textOf(buffer), L"0123");
    expectCounts(buffer, 4, 4);
}

TEST(TBuffer, AllocOfMoreKeepsAllAndAllocatesExactly) {
    auto buffer = bufferOf<WatchedBuffer>(L"abc");

    buffer.alloc(20);

    EXPECT_EQ(textOf(buffer), L"abc");
    expectCounts(buffer, 3, 20);
    EXPECT_EQ(buffer.givenUp, std::vector<int>{3});
}

TEST(TBuffer, AllocOfNoneGivesTheStorageUp) {
    Buffer buffer = bufferOf(L"abc");

    buffer.alloc(0);

    expectNoStorage(buffer);
}

TEST(TBuffer, AlignedDataIsAMultipleOfTheAlignmentInStorageWithThatMuchMore) {
    for (int const alignment : {4, 16, 64, 4096}) {
        WatchedBuffer buffer;
        buffer.setAllocAlignBytes(alignment);

        buffer.alloc(10);
        EXPECT_EQ(misalignment(buffer, alignment), 0U) << alignment;
        expectCounts(buffer, 0, 10);
        buffer.setUsed(10);
        std::memset(buffer.getData(), 0x55, 10 * sizeof(wchar_t));
        buffer.clear();

        EXPECT_EQ(buffer.givenUp, std::vector<int>{10 + alignment - 1});
    }
}

TEST(TBuffer, NewAlignmentMovesTheDataToComply) {
    auto buffer = bufferOf<WatchedBuffer>(L"abc", 10);

    buffer.setAllocAlignBytes(4096);

    EXPECT_EQ(misalignment(buffer, 4096), 0U);
    EXPECT_EQ(textOf(buffer), L"abc");
    expectCounts(buffer, 3, 10);
    EXPECT_EQ(buffer.givenUp, std::vector<int>{10});
}

TEST(TBuffer, SameAlignmentAgainOrNoneLeavesTheDataInPlace) {
    Buffer buffer = bufferOf(L"abc");
    buffer.setAllocAlignBytes(64);
    wchar_t* const data = buffer.getData();

    buffer.setAllocAlignBytes(64);
    buffer.setAllocAlignBytes(1);

    EXPECT_EQ(buffer.getData(), data);
}

TEST(TBuffer, AlignmentWithoutStorageWaitsForIt) {
    Buffer buffer;

    buffer.setAllocAlignBytes(64);

    expectNoStorage(buffer);
}

TEST(TBuffer, UsesAttachedStorageAndNeverFreesIt) {
    wchar_t external[] = {L'a', L'b', L'c'};
    {
        Buffer buffer = bufferOf(L"previous");

        buffer.attachNoDelete(external, 3);

        EXPECT_EQ(buffer.getData(), external);
        expectCounts(buffer, 3, 3);
        buffer[1] = L'x';
    }

    EXPECT_EQ(std::wstring(external, 3), L"axc");
}

TEST(TBuffer, GivesItsOwnStorageUpWhenItAttachesAnother) {
    wchar_t external[] = {L'a'};
    auto buffer = bufferOf<WatchedBuffer>(L"previous");

    buffer.attachNoDelete(external, 1);
    buffer.clear();

    EXPECT_EQ(buffer.givenUp, std::vector<int>{8});
    expectNoStorage(buffer);
}

TEST(TBuffer, AllocMovesAttachedElementsToStorageOfItsOwn) {
    wchar_t external[] = {L'a', L'b', L'c'};
    WatchedBuffer buffer;
    buffer.attachNoDelete(external, 3);

    buffer.alloc(5);
    buffer[0] = L'x';

    EXPECT_EQ(textOf(buffer), L"xbc");
    EXPECT_EQ(external[0], L'a');
    expectCounts(buffer, 3, 5);
    EXPECT_TRUE(buffer.givenUp.empty());
    buffer.clear();
    EXPECT_EQ(buffer.givenUp, std::vector<int>{5});
}

TEST(TBuffer, ClearFreesTheStorageAndKeepsTheSettings) {
    auto buffer = bufferOf<WatchedBuffer>(L"abc", 10);
    buffer.setAllocAlignBytes(64);
    buffer.setMinGrowFactor(2.0);

    buffer.clear();
    expectNoStorage(buffer);
    buffer.setUsed(4);

    EXPECT_EQ(misalignment(buffer, 64), 0U);
    EXPECT_EQ(buffer.getMinGrowFactor(), 2.0);
    EXPECT_EQ(buffer.givenUp, (std::vector<int>{10, 10 + 63}));
}

TEST(TBuffer, InitReplacesTheElementsInTheRoomThatIsThere) {
    Buffer buffer = bufferOf(L"previous");

    buffer.init(L"abc", 3);
    EXPECT_EQ(textOf(buffer), L"abc");
    expectCounts(buffer, 3, 8);
    buffer.init(L"0123456789", 10);

    EXPECT_EQ(textOf(buffer), L"0123456789");
    expectCounts(buffer, 10, 10);
}

namespace {

struct GrowthCase {
    char const* name;
    int allocated;
    double factor;
    int needed;
    int expected;
};

std::ostream& operator<<(std::ostream& stream, GrowthCase const& growthCase) {
    return stream << growthCase.name;
}

class TBufferGrowth : public testing::TestWithParam<GrowthCase> {
protected:
    TBufferGrowth() : m_buffer(0, GetParam().allocated) { m_buffer.setMinGrowFactor(GetParam().factor); }

    Buffer m_buffer;
};

} // namespace

TEST_P(TBufferGrowth, OfEnsureAllocated) {
    m_buffer.ensureAllocated(GetParam().needed);

    expectCounts(m_buffer, 0, GetParam().expected);
}

TEST_P(TBufferGrowth, OfEnsureFree) {
    m_buffer.ensureFree(GetParam().needed);

    expectCounts(m_buffer, 0, GetParam().expected);
}

TEST_P(TBufferGrowth, OfGetFreePtr) {
    m_buffer.getFreePtr(GetParam().needed);

    expectCounts(m_buffer, 0, GetParam().expected);
}

TEST_P(TBufferGrowth, OfSetUsed) {
    m_buffer.setUsed(GetParam().needed);

    expectCounts(m_buffer, GetParam().needed, GetParam().expected);
}

TEST_P(TBufferGrowth, OfAddUsed) {
    m_buffer.addUsed(GetParam().needed);

    expectCounts(m_buffer, GetParam().needed, GetParam().expected);
}

TEST_P(TBufferGrowth, OfInit) {
    std::wstring const text(static_cast<std::size_t>(GetParam().needed), L'x');

    m_buffer.init(text.data(), GetParam().needed);

    expectCounts(m_buffer, GetParam().needed, GetParam().expected);
}

TEST_P(TBufferGrowth, OfInsert) {
    std::wstring const text(static_cast<std::size_t>(GetParam().needed), L'x');

    m_buffer.insert(0, text.data(), GetParam().needed);

    expectCounts(m_buffer, GetParam().needed, GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(TBuffer, TBufferGrowth,
                         testing::Values(GrowthCase{"ExactWithTheInitialFactor", 0, 0.0, 10, 10},
                                         GrowthCase{"ExactFromSomeWithTheInitialFactor", 10, 0.0, 11, 11},
                                         GrowthCase{"ByTheFactor", 10, 1.5, 11, 15},
                                         GrowthCase{"TruncatedByTheFactor", 5, 1.5, 6, 7},
                                         GrowthCase{"ByAFactorJustBelowItsDecimals", 10, 1.7, 11, 17},
                                         GrowthCase{"ToTheNeedBeyondTheFactor", 10, 1.5, 16, 16},
                                         GrowthCase{"ToTwice", 10, 2.0, 11, 20},
                                         GrowthCase{"NotWithRoomLeft", 10, 2.0, 10, 10},
                                         GrowthCase{"NotForNothing", 0, 2.0, 0, 0}),
                         test::nameOfCase);

TEST(TBuffer, CountsWhatIsNeededFromTheUsedElementsOn) {
    Buffer buffer = bufferOf(L"abc");

    buffer.ensureFree(4);
    expectCounts(buffer, 3, 7);
    wchar_t const* const free = buffer.getFreePtr(5);
    EXPECT_EQ(free, buffer.getData() + 3);
    expectCounts(buffer, 3, 8);
    buffer.addUsed(6);

    expectCounts(buffer, 9, 9);
    EXPECT_EQ(textOf(buffer).substr(0, 3), L"abc");
}

TEST(TBuffer, SetUsedOfFewerKeepsTheRoom) {
    Buffer buffer = bufferOf(L"abc");

    buffer.setUsed(1);

    EXPECT_EQ(textOf(buffer), L"a");
    expectCounts(buffer, 1, 3);
}

TEST(TBuffer, AppendsInPlace) {
    Buffer buffer = bufferOf(L"abc", 10);
    wchar_t* const data = buffer.getData();

    wchar_t* const free = buffer.getFreePtr(2);
    free[0] = L'd';
    free[1] = L'e';
    buffer.addUsed(2);

    EXPECT_EQ(textOf(buffer), L"abcde");
    EXPECT_EQ(buffer.getData(), data);
    EXPECT_EQ(buffer.getFreePtr(), data + 5);
}

namespace {

constexpr int greatestInt = std::numeric_limits<int>::max();
constexpr double noNumber = std::numeric_limits<double>::quiet_NaN();

/// An operation that needs more elements than can be counted.
struct ExcessCase {
    char const* name;
    void (*perform)(Buffer& buffer);
};

std::ostream& operator<<(std::ostream& stream, ExcessCase const& excessCase) {
    return stream << excessCase.name;
}

class TBufferExcess : public testing::TestWithParam<ExcessCase> {};

void insertExcess(Buffer& buffer, Buffer const& source) {
    buffer.insert(0, source.getData(), greatestInt);
}

void growByFactor(Buffer& buffer, double factor) {
    buffer.setMinGrowFactor(factor);
    buffer.addUsed(2);
}

} // namespace

TEST_P(TBufferExcess, ThrowsAndLeavesTheBufferAsItWas) {
    Buffer buffer = bufferOf(L"abc", 4);
    wchar_t* const data = buffer.getData();

    EXPECT_THROW(GetParam().perform(buffer), std::bad_array_new_length);

    EXPECT_EQ(buffer.getData(), data);
    EXPECT_EQ(textOf(buffer), L"abc");
    expectCounts(buffer, 3, 4);
}

INSTANTIATE_TEST_SUITE_P(
    TBuffer, TBufferExcess,
    testing::Values(ExcessCase{"EnsureFree", [](Buffer& buffer) { buffer.ensureFree(greatestInt); }},
                    ExcessCase{"EnsureFreeOfOneTooMany",
                               [](Buffer& buffer) { buffer.ensureFree(greatestInt - 2); }},
                    ExcessCase{"AddUsed", [](Buffer& buffer) { buffer.addUsed(greatestInt); }},
                    ExcessCase{"GetFreePtr", [](Buffer& buffer) { buffer.getFreePtr(greatestInt); }},
                    ExcessCase{"Insert", [](Buffer& buffer) { insertExcess(buffer, bufferOf(L"x")); }},
                    ExcessCase{"Factor", [](Buffer& buffer) { growByFactor(buffer, 1e9); }},
                    ExcessCase{"FactorOfOneTooMany", [](Buffer& buffer) { growByFactor(buffer, 0x1p29); }},
                    ExcessCase{"InfiniteFactor", [](Buffer& buffer) { growByFactor(buffer, HUGE_VAL); }}),
    test::nameOfCase);

TEST(TBuffer, GrowsToWhatIsNeededUnderAFactorBelowEverythingOrThatIsNoNumber) {
    for (double const factor : {-1e300, -HUGE_VAL, noNumber}) {
        Buffer buffer = bufferOf(L"abc");
        buffer.setMinGrowFactor(factor);

        buffer.addUsed(2);

        expectCounts(buffer, 5, 5);
    }
}

TEST(TBuffer, ThatCannotCountWhatItsAlignmentNeedsThrowsAndStaysAsItWas) {
    Buffer buffer = bufferOf(L"abc");
    buffer.setAllocAlignBytes(64);
    wchar_t* const data = buffer.getData();

    EXPECT_THROW(buffer.alloc(greatestInt - 62), std::bad_array_new_length);
    EXPECT_THROW(buffer.setAllocAlignBytes(greatestInt), std::bad_array_new_length);

    EXPECT_EQ(buffer.getData(), data);
    EXPECT_EQ(textOf(buffer), L"abc");
    expectCounts(buffer, 3, 3);
}

TEST(TBuffer, InsertsAtEveryPosition) {
    struct {
        int position;
        wchar_t const* expected;
    } const cases[] = {{0, L"xyabc"}, {1, L"axybc"}, {3, L"abcxy"}};

    for (auto const& insertion : cases) {
        Buffer buffer = bufferOf(L"abc");

        buffer.insert(insertion.position, L"xy", 2);

        EXPECT_EQ(textOf(buffer), insertion.expected);
        expectCounts(buffer, 5, 5);
    }
}

TEST(TBuffer, InsertOfNothingChangesNothing) {
    Buffer buffer = bufferOf(L"abc");

    buffer.insert(1, nullptr, 0);

    EXPECT_EQ(textOf(buffer), L"abc");
}

TEST(TBuffer, MovesOverlappingElements) {
    Buffer upwards = bufferOf(L"abcde");
    Buffer downwards = bufferOf(L"abcde");
    Buffer nowhere = bufferOf(L"abcde");

    upwards.move(1, 0, 4);
    downwards.move(0, 1, 4);
    nowhere.move(0, 1, 0);

    EXPECT_EQ(textOf(upwards), L"aabcd");
    EXPECT_EQ(textOf(downwards), L"bcdee");
    EXPECT_EQ(textOf(nowhere), L"abcde");
}

TEST(TBuffer, EraseFromStartMovesTheRestToTheFront) {
    Buffer buffer = bufferOf(L"abcde");

    buffer.eraseFromStart(2);
    EXPECT_EQ(textOf(buffer), L"cde");
    buffer.eraseFromStart(0);
    EXPECT_EQ(textOf(buffer), L"cde");
    buffer.eraseFromStart(3);

    expectCounts(buffer, 0, 5);
}

TEST(TBuffer, IsEqualWhenTheUsedElementsAre) {
    Buffer roomy = bufferOf(L"abc", 10);
    roomy.setMinGrowFactor(2.0);
    roomy.setAllocAlignBytes(16);
    Buffer const exact = bufferOf(L"abc");

    EXPECT_TRUE(roomy.equals(exact));
    EXPECT_TRUE(roomy == exact);
    EXPECT_FALSE(roomy != exact);
    EXPECT_TRUE(Buffer() == Buffer(0, 10));
}

TEST(TBuffer, IsUnequalWhenCountOrElementsDiffer) {
    Buffer const buffer = bufferOf(L"abc");

    for (wchar_t const* const other : {L"ab", L"abcd", L"abd", L""}) {
        EXPECT_FALSE(buffer.equals(bufferOf(other)));
        EXPECT_FALSE(buffer == bufferOf(other));
        EXPECT_TRUE(buffer != bufferOf(other));
    }
}

TEST(TBuffer, GivesItsDataForReadingAndWriting) {
    Buffer buffer = bufferOf(L"abc");
    Buffer const& constant = buffer;

    buffer[1] = L'x';
    wchar_t* const data = buffer;

    EXPECT_EQ(data, buffer.getData());
    EXPECT_EQ(constant.getData(), data);
    EXPECT_EQ(constant[1], L'x');
}

template <class... Index>
void expectElementsAt(Index... indices) {
    Buffer buffer = bufferOf(L"abc");
    Buffer const& constant = buffer;

    ((buffer[indices] = L'x'), ...);

    EXPECT_TRUE(((constant[indices] == L'x') && ...));
    EXPECT_EQ(textOf(buffer), L"axc");
}

TEST(TBuffer, FindsTheElementByAnIndexOfAnyIntegralType) {
    expectElementsAt(true, char{1}, static_cast<signed char>(1), static_cast<unsigned char>(1), short{1},
                     static_cast<unsigned short>(1), 1, 1U, 1L, 1UL, 1LL, 1ULL, wchar_t{1});
}

TEST(TBuffer, CanBeHeldThroughP) {
    fdn::P<fdn::TBuffer<unsigned char>> const bytes = fdn::newObj<fdn::TBuffer<unsigned char>>(3, 5);

    EXPECT_EQ(bytes->getUsed(), 3);
    EXPECT_EQ(bytes->getAllocated(), 5);
}
