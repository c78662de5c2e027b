#include "support/cases.h"

#include <fdn/TBuffer.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <ostream>
#include <string>

namespace {

constexpr int elementCount = 8;

// The storage that was allocated last.
void* lastStorage = nullptr;
std::size_t lastSize = 0;

// The storage that is examined when it is freed, and what it held then.
void* watchedStorage = nullptr;
std::size_t watchedSize = 0;
unsigned char contentWhenFreed[1024];
bool wasFreed = false;

bool mayAllocate = true;

/// A plain value whose arrays are allocated here, so that tests can see what is freed and refuse to allocate.
template <class Value>
struct Element {
    Value value;

    static void* operator new[](std::size_t size) {
        void* const storage = mayAllocate ? std::malloc(size) : nullptr;
        if (storage == nullptr)
            throw std::bad_alloc();
        lastStorage = storage;
        lastSize = size;
        return storage;
    }

    static void operator delete[](void* storage) {
        if (storage != nullptr && storage == watchedStorage) {
            std::memcpy(contentWhenFreed, storage, watchedSize);
            watchedStorage = nullptr;
            wasFreed = true;
        }
        std::free(storage);
    }
};

using Byte = Element<unsigned char>;
using Wide = Element<wchar_t>;

static_assert(sizeof(Byte) == 1 && sizeof(Wide) == sizeof(wchar_t));

/// Fills the storage that was allocated last with the byte 0xAA and watches it.
void watchLastStorage() {
    std::memset(lastStorage, 0xAA, lastSize);
    watchedStorage = lastStorage;
    watchedSize = lastSize;
    wasFreed = false;
}

/// A buffer whose storage is watched.
template <class AnyBuffer>
std::unique_ptr<AnyBuffer> makeWatched() {
    auto buffer = std::make_unique<AnyBuffer>(elementCount, -1);
    watchLastStorage();
    return buffer;
}

/// How many bytes at the front of the watched storage were zero when it was freed; -1 if it was not freed or
/// if a byte behind them had changed.
int wipedBytes() {
    unsigned char const* const begin = contentWhenFreed;
    unsigned char const* const end = begin + watchedSize;
    unsigned char const* const rest = std::find_if(begin, end, [](unsigned char c) { return c != 0; });
    bool const isUntouched = std::all_of(rest, end, [](unsigned char c) { return c == 0xAA; });
    return wasFreed && isUntouched ? static_cast<int>(rest - begin) : -1;
}

/// A way to make a buffer give up its storage.
template <class T>
struct GivingUp {
    using Buffer = fdn::TCryptBuffer<T>;

    char const* name;
    void (*perform)(std::unique_ptr<Buffer>& buffer);
};

template <class T>
std::ostream& operator<<(std::ostream& stream, GivingUp<T> const& givingUp) {
    return stream << givingUp.name;
}

template <class T>
auto waysOfGivingUp() {
    using Way = GivingUp<T>;
    using Buffer = typename Way::Buffer;
    static T external[1];
    return testing::Values(
        Way{"Destruction", [](std::unique_ptr<Buffer>& buffer) { buffer.reset(); }},
        Way{"Clear", [](std::unique_ptr<Buffer>& buffer) { buffer->clear(); }},
        Way{"Alloc", [](std::unique_ptr<Buffer>& buffer) { buffer->alloc(2 * elementCount); }},
        Way{"AllocOfNone", [](std::unique_ptr<Buffer>& buffer) { buffer->alloc(0); }},
        Way{"Growth", [](std::unique_ptr<Buffer>& buffer) { buffer->addUsed(1); }},
        Way{"Assignment", [](std::unique_ptr<Buffer>& buffer) { *buffer = Buffer(3, -1); }},
        Way{"Assign", [](std::unique_ptr<Buffer>& buffer) { buffer->assign(fdn::TBuffer<T>(3, -1)); }},
        Way{"Alignment", [](std::unique_ptr<Buffer>& buffer) { buffer->setAllocAlignBytes(64); }},
        Way{"Attachment", [](std::unique_ptr<Buffer>& buffer) { buffer->attachNoDelete(external, 1); }},
        Way{"ReleaseOfTheLastReference",
            [](std::unique_ptr<Buffer>& buffer) { buffer.release()->release(); }});
}

class TCryptBufferOfWideText : public testing::TestWithParam<GivingUp<Wide>> {};

class TCryptBufferOfBytes : public testing::TestWithParam<GivingUp<Byte>> {};

} // namespace

TEST_P(TCryptBufferOfWideText, WipesAsManyBytesAsItHasElements) {
    auto buffer = makeWatched<fdn::TCryptBuffer<Wide>>();

    GetParam().perform(buffer);

    EXPECT_EQ(wipedBytes(), elementCount);
}

INSTANTIATE_TEST_SUITE_P(On, TCryptBufferOfWideText, waysOfGivingUp<Wide>(), test::nameOfCase);

TEST_P(TCryptBufferOfBytes, WipesItsWholeStorage) {
    auto buffer = makeWatched<fdn::TCryptBuffer<Byte>>();

    GetParam().perform(buffer);

    EXPECT_EQ(wipedBytes(), elementCount);
}

INSTANTIATE_TEST_SUITE_P(On, TCryptBufferOfBytes, waysOfGivingUp<Byte>(), test::nameOfCase);

TEST(TCryptBuffer, WipesFromTheStartOfItsStorageWhereTheDataIsAligned) {
    constexpr int alignment = 64;
    constexpr int storageCount = elementCount + alignment - 1;
    fdn::TCryptBuffer<Wide> buffer;
    buffer.setAllocAlignBytes(alignment);
    buffer.alloc(elementCount);
    watchLastStorage();

    buffer.clear();

    EXPECT_EQ(watchedSize, storageCount * sizeof(Wide));
    EXPECT_EQ(wipedBytes(), storageCount);
}

TEST(TCryptBuffer, LeavesAttachedStorageAlone) {
    wchar_t external[] = {L'a', L'b', L'c'};

    {
        fdn::TCryptBuffer<wchar_t> buffer;
        buffer.attachNoDelete(external, 3);
    }

    EXPECT_EQ(std::wstring(external, 3), L"abc");
}

TEST(TCryptBuffer, CopyHasTheElements) {
    fdn::TCryptBuffer<wchar_t> const original(L"abc", 3, 10);

    fdn::TCryptBuffer<wchar_t> const copy(original);

    EXPECT_TRUE(copy == original);
    EXPECT_EQ(copy.getAllocated(), 10);
}

TEST(TBuffer, FreesItsStorageAsItIs) {
    auto buffer = makeWatched<fdn::TBuffer<Byte>>();

    buffer.reset();

    EXPECT_EQ(wipedBytes(), 0);
}

namespace {

using Buffer = fdn::TBuffer<Wide>;

constexpr Wide letters[] = {{L'a'}, {L'b'}, {L'c'}, {L'd'}, {L'e'}};

/// A buffer that needs no storage.
Buffer const& attachedLetters() {
    static Wide copies[5];
    static Buffer buffer;
    buffer.attachNoDelete(copies, 5);
    return buffer;
}

/// An operation that needs storage.
struct Need {
    char const* name;
    void (*perform)(Buffer& buffer);
};

std::ostream& operator<<(std::ostream& stream, Need const& need) {
    return stream << need.name;
}

class TBufferWithoutMemory : public testing::TestWithParam<Need> {};

} // namespace

TEST_P(TBufferWithoutMemory, ThrowsTheAllocatorsExceptionAndStaysAsItWas) {
    Buffer buffer(letters, 3, 4);
    Buffer const before(buffer);
    Wide const* const data = buffer.getData();

    mayAllocate = false;
    EXPECT_THROW(GetParam().perform(buffer), std::bad_alloc);
    mayAllocate = true;

    EXPECT_EQ(buffer.getData(), data);
    EXPECT_EQ(buffer.getAllocated(), 4);
    EXPECT_TRUE(buffer == before);
    buffer.alloc(4);
    EXPECT_EQ(lastSize, 4 * sizeof(Wide)) << "the alignment has changed";
}

INSTANTIATE_TEST_SUITE_P(
    TBuffer, TBufferWithoutMemory,
    testing::Values(Need{"Alloc", [](Buffer& buffer) { buffer.alloc(9); }},
                    Need{"AllocOfFewer", [](Buffer& buffer) { buffer.alloc(2); }},
                    Need{"AllocOfAsManyAsCanBeCounted",
                         [](Buffer& buffer) { buffer.alloc(std::numeric_limits<int>::max()); }},
                    Need{"Assignment", [](Buffer& buffer) { buffer.assign(attachedLetters()); }},
                    Need{"Init", [](Buffer& buffer) { buffer.init(letters, 5); }},
                    Need{"EnsureAllocated", [](Buffer& buffer) { buffer.ensureAllocated(5); }},
                    Need{"EnsureFree", [](Buffer& buffer) { buffer.ensureFree(5); }},
                    Need{"SetUsed", [](Buffer& buffer) { buffer.setUsed(5); }},
                    Need{"AddUsed", [](Buffer& buffer) { buffer.addUsed(2); }},
                    Need{"Insert", [](Buffer& buffer) { buffer.insert(1, letters, 2); }},
                    Need{"GetFreePtr", [](Buffer& buffer) { buffer.getFreePtr(2); }},
                    Need{"Alignment", [](Buffer& buffer) { buffer.setAllocAlignBytes(64); }}),
    test::nameOfCase);
