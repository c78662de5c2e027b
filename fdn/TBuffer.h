#pragma once

#include <fdn/CBase.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <type_traits>

#include <string.h>

namespace fdn {

/// A growable array of plain elements, of which the front part is in use.
///
///     TBuffer<char> buffer;
///     buffer.setMinGrowFactor(2.0);
///     std::memcpy(buffer.getFreePtr(size), line, size);
///     buffer.addUsed(size);
///
/// Unless told otherwise it grows to exactly what is needed; whoever appends often sets a grow factor above
/// one. Its data can be aligned, and it can wrap storage that it does not own. Growing, assigning and
/// aligning move the elements to new storage: pointers to them are good until then.
///
/// Counts and positions are in elements and must be valid: nothing is checked. When storage cannot be had,
/// the allocator's exception leaves the buffer as it was; it is std::bad_array_new_length for more elements,
/// or for a grow factor that asks for more, than an `int` can count. A buffer belongs to one thread at a
/// time.
template <class T>
class TBuffer : public CBase {
    static_assert(std::is_trivially_copyable_v<T>, "elements are moved as bytes");

public:
    /// An empty buffer without storage: alignment 1, grow factor 0.
    TBuffer() = default;

    /// `used` elements of undefined value, with room for `allocate` of them (-1: no more than are used).
    explicit TBuffer(int used, int allocate = -1) { startWith(used, allocate); }

    /// A copy of `count` elements, with room for `allocate` of them (-1: no more than are copied).
    TBuffer(T const* source, int count, int allocate) {
        startWith(count, allocate);
        copy(m_data, source, count);
    }

    /// A copy of the used elements with as much room. Alignment and grow factor are not copied.
    TBuffer(TBuffer const& other) : CBase(other) {
        alloc(other.m_allocated);
        setUsed(other.m_used);
        copy(m_data, other.m_data, other.m_used);
    }

    /// The same as assign().
    TBuffer& operator=(TBuffer const& other) {
        assign(other);
        return *this;
    }

    /// Frees the storage if the buffer owns it.
    ~TBuffer() override { TBuffer::freeStorage(); }

    /// Copies the other's used elements into new storage with as much room as the other has; keeps its own
    /// alignment and grow factor. Gives up the storage that it had, whether owned or attached.
    void assign(TBuffer const& other) {
        alloc(other.m_allocated);
        m_used = other.m_used;
        copy(m_data, other.m_data, m_used);
    }

    /// Moves to new storage of exactly `count` elements, keeping as many used ones as fit. For 0 there is no
    /// storage afterwards. The new storage is the buffer's own, even when the old one was attached.
    void alloc(int count) { allocAligned(count, m_alignment); }

    /// Uses the caller's storage, all of it in use, and never frees it. The storage must live until the
    /// buffer has been cleared or destroyed, or has grown. What the buffer owned before is freed.
    void attachNoDelete(T* external, int count) {
        freeStorage();
        adopt(external, external, count, count, count, false);
    }

    /// Gives up the storage, and frees it if the buffer owns it. Alignment and grow factor stay.
    void clear() {
        freeStorage();
        adopt(nullptr, nullptr, 0, 0, 0, true);
    }

    /// Replaces the content. The source must lie outside the buffer.
    void init(T const* source, int count) {
        setUsed(count);
        copy(m_data, source, count);
    }

    /// Makes room for `count` elements in all, by the rule of growth; nothing happens when there is enough.
    void ensureAllocated(int count) {
        if (count > m_allocated)
            grow(count);
    }

    /// Makes room for `count` elements after the used ones. Does not take them into use.
    void ensureFree(int count) {
        if (count > getFree())
            grow(std::int64_t{m_used} + count);
    }

    /// Sets how many elements are in use; new ones have undefined values.
    void setUsed(int count) {
        ensureAllocated(count);
        m_used = count;
    }

    /// Takes `count` more elements into use, such as those just written at getFreePtr().
    void addUsed(int count) {
        ensureFree(count);
        m_used += count;
    }

    /// Inserts `count` elements before `position`. The source must lie outside the buffer.
    void insert(int position, void const* source, int count) {
        int const tail = m_used - position;
        addUsed(count);
        move(position + count, position, tail);
        copy(m_data + position, static_cast<T const*>(source), count);
    }

    /// Moves `count` elements within the buffer; the two places may overlap.
    void move(int to, int from, int count) {
        if (count > 0)
            std::memmove(m_data + to, m_data + from, sizeInBytes(count));
    }

    /// Drops the first `count` used elements and moves the rest to the front.
    void eraseFromStart(int count) {
        move(0, count, m_used - count);
        m_used -= count;
    }

    /// Whether as many elements are in use and they are the same, byte for byte. Room, alignment and grow
    /// factor do not matter.
    bool equals(TBuffer const& other) const {
        return m_used == other.m_used &&
               (m_used == 0 || std::memcmp(m_data, other.m_data, sizeInBytes(m_used)) == 0);
    }

    /// The same as equals().
    bool operator==(TBuffer const& other) const { return equals(other); }

    /// The opposite of equals().
    bool operator!=(TBuffer const& other) const { return !equals(other); }

    /// The first element after the used ones. Write as many as getFree() there, then call addUsed().
    T* getFreePtr() { return m_data + m_used; }

    /// The same, with room for `count` elements made there first.
    T* getFreePtr(int count) {
        ensureFree(count);
        return getFreePtr();
    }

    /// The first element, used or not; null when there is no storage. Valid until the buffer grows or is
    /// cleared.
    T* getData() { return m_data; }

    /// The same for reading.
    T const* getData() const { return m_data; }

    /// The same as getData().
    operator T*() { return m_data; }

    /// The element at the index, which counts from 0.
    T& operator[](int index) { return m_data[index]; }

    /// The same for reading.
    T const& operator[](int index) const { return m_data[index]; }

    /// The same for every other integer; compilers could not choose between int and the conversion to T*.
    template <class Index, class = std::enable_if_t<std::is_integral_v<Index>>>
    T& operator[](Index index) {
        return m_data[static_cast<std::ptrdiff_t>(index)];
    }

    /// The same for reading.
    template <class Index, class = std::enable_if_t<std::is_integral_v<Index>>>
    T const& operator[](Index index) const {
        return m_data[static_cast<std::ptrdiff_t>(index)];
    }

    /// How many elements are in use.
    int getUsed() const { return m_used; }

    /// How many elements there is room for, the used ones included.
    int getAllocated() const { return m_allocated; }

    /// How many more elements there is room for.
    int getFree() const { return m_allocated - m_used; }

    /// Sets the alignment of the data in bytes (1: none). Existing data moves to comply. It costs up to that
    /// many elements, less one, of extra storage.
    void setAllocAlignBytes(int bytes) {
        if (m_storage != nullptr && bytes >= 2 && bytes != m_alignment)
            allocAligned(m_allocated, bytes);
        m_alignment = bytes;
    }

    /// Sets the least room after growing: the old room times the factor, rounded down. 2.0 makes appending
    /// cheap; 0, the initial value, and everything up to 1 make it grow to what is needed.
    void setMinGrowFactor(double factor) { m_minGrowFactor = factor; }

    /// The factor that setMinGrowFactor() has set; 0 before.
    double getMinGrowFactor() const { return m_minGrowFactor; }

protected:
    /// Frees `storageCount` elements that alloc() obtained; called whenever owned storage is given up. A
    /// derived class that overrides it calls clear() in its destructor, since the one here calls this
    /// version.
    virtual void deleteData(T* storage, int storageCount) {
        static_cast<void>(storageCount);
        delete[] storage;
    }

    /// Gives owned storage to deleteData(): in a destructor, to the one of the class that is being destroyed.
    void freeStorage() {
        if (m_ownsStorage && m_storage != nullptr)
            // NOLINTNEXTLINE(clang-analyzer-optin.cplusplus.VirtualCall): see above
            deleteData(m_storage, m_storageCount);
        m_storage = nullptr;
    }

private:
    static std::size_t sizeInBytes(int count) { return static_cast<std::size_t>(count) * sizeof(T); }

    static void copy(T* to, T const* from, int count) {
        if (count > 0)
            std::memmove(to, from, sizeInBytes(count));
    }

    void startWith(int used, int allocate) {
        if (allocate != -1)
            ensureAllocated(std::max(used, allocate));
        setUsed(used);
    }

    // Out of line: a loop that appends stays small and seldom gets here.
    [[gnu::noinline]] void grow(std::int64_t needed) {
        // volatile, because 32-bit Intel processors calculate with more digits, and would round 10 times 1.7
        // down to 16.
        double const volatile byFactor = m_allocated * m_minGrowFactor;
        // A double represents every count exactly. A factor that is not a number has no effect.
        alloc(toCount(std::max(static_cast<double>(needed), static_cast<double>(byFactor))));
    }

    // Truncates. A product beyond what an int counts is an error rather than being cut down to that: the
    // factor asks for storage of that size, which cannot be had.
    static int toCount(double count) {
        if (count >= std::numeric_limits<int>::max() + 1.0)
            throw std::bad_array_new_length();
        return static_cast<int>(count);
    }

    // All that may throw comes before anything is changed. The extra elements leave room to round the address
    // up; their number counts elements although the alignment counts bytes, which is enough for every size.
    void allocAligned(int count, int alignment) {
        if (count <= 0)
            return clear();
        int const kept = std::min(m_used, count);
        int const storageCount = toCount(count + (alignment - 1.0));
        auto const size = static_cast<std::size_t>(storageCount);
        T* const storage = new T[size];
        T* const data = align(storage, alignment);
        copy(data, m_data, kept);
        freeStorage();
        adopt(storage, data, count, storageCount, kept, true);
    }

    static T* align(T* storage, int alignment) {
        if (alignment <= 1)
            return storage;
        auto const step = static_cast<std::uintptr_t>(alignment);
        auto const excess = reinterpret_cast<std::uintptr_t>(storage) % step;
        if (excess == 0)
            return storage;
        return reinterpret_cast<T*>(reinterpret_cast<unsigned char*>(storage) + (step - excess));
    }

    void adopt(T* storage, T* data, int allocated, int storageCount, int used, bool owns) {
        m_storage = storage;
        m_data = data;
        m_allocated = allocated;
        m_storageCount = storageCount;
        m_used = used;
        m_ownsStorage = owns;
    }

    T* m_storage = nullptr;
    T* m_data = nullptr;
    std::int32_t m_allocated = 0;
    std::int32_t m_storageCount = 0;
    std::int32_t m_used = 0;
    std::int32_t m_alignment = 1;
    bool m_ownsStorage = true;
    double m_minGrowFactor = 0.0;
};

/// A buffer for secrets, which overwrites its storage with zeros before freeing it, even when it grows. It
/// wipes as many bytes as the storage has elements, and so only a part of it when elements are larger than a
/// byte: the interface is fixed.
template <class T>
class TCryptBuffer : public TBuffer<T> {
public:
    using TBuffer<T>::TBuffer;

    /// A second copy of the secret, which is wiped like the first.
    TCryptBuffer(TCryptBuffer const& other) = default;

    /// Copies the other's secret; its own is wiped.
    TCryptBuffer& operator=(TCryptBuffer const& other) = default;

    /// Wipes the secret and frees the storage.
    ~TCryptBuffer() override { this->clear(); }

protected:
    /// Wipes storage before it frees it.
    void deleteData(T* storage, int storageCount) override {
        // The compiler may drop a memset before a free, but never an explicit_bzero.
        if (storage != nullptr)
            explicit_bzero(storage, static_cast<std::size_t>(storageCount));
        delete[] storage;
    }
};

} // namespace fdn
