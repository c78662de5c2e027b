#pragma once

#include <fdn/CMutex.h>
#include <fdn/P.h>
#include <fdn/threadYield.h>

#include <atomic>
#include <cstdint>

namespace fdn {

/// Throws a CError with the message, for safe global pointers. It is defined with the errors, because the
/// objects do not know those.
[[noreturn]] FDN_EXPORT void throwGlobalObjectError(char const* message);

/// A process-wide object that is constructed once, by the first thread that uses it, and destroyed at process
/// exit. Any thread may use it until then; a destructor that runs later and uses it gets a CError.
///
/// It is meant to live as a function-local static and is made from two functions: one that returns a flag
/// byte of this global alone, and one that makes the object:
///
///     TSafeGlobalPointer<CThing>& globalThing() {
///         static TSafeGlobalPointer<CThing> thing(&thingGuard, &createThing);
///         return thing;
///     }
///
/// The first use runs the create function under the global mutex. When that throws, the first user sees the
/// exception and every later one a CError: a failed construction is not tried again. (That is why the object
/// is constructed at the first use and not in the constructor: a static whose constructor throws counts as
/// not yet constructed, and the next caller would try again.)
///
/// The flag tells threads that arrive meanwhile that the construction has begun, so that they need not take
/// the mutex to find out. It belongs to the user, although a field would do: the interface is fixed.
template <class T>
class TSafeGlobalPointer {
public:
    /// Returns the flag byte of this global, which starts at zero and outlives the pointer. The pointer alone
    /// writes it: 1 from the beginning of the construction on, 0 again when that has failed.
    using GuardFunction = char& (*)();

    /// Makes the object; called at most once. It may use other globals, but must not use this one, for which
    /// it would wait forever.
    using CreateFunction = P<T> (*)();

    /// Constructs no object yet, so that the initialization of a static ends at once: its lock is not held
    /// while the object is constructed.
    constexpr TSafeGlobalPointer(GuardFunction guard, CreateFunction create)
        : m_guard(guard), m_create(create) {}

    TSafeGlobalPointer(TSafeGlobalPointer const&) = delete;
    TSafeGlobalPointer& operator=(TSafeGlobalPointer const&) = delete;

    /// Drops the reference to the object, which is destroyed unless somebody else holds it. Later uses throw.
    ~TSafeGlobalPointer() {
        m_isGone.store(true, std::memory_order_release);
        m_state.store(0, std::memory_order_release);
        m_object.reset();
    }

    /// The object, constructed by this call if it is the first. Blocks while another thread constructs it,
    /// without holding a lock; only the first user waits for other globals that are under construction.
    /// Throws what the create function throws to the first user, "Construction of static object has failed."
    /// to later ones, and a CError to those that come after its destruction.
    T& operator*() {
        if (!_isConstructed())
            constructOrWait();
        return *m_object;
    }

    /// The same as operator *, which may construct, block and throw.
    T* operator->() { return &**this; }

    /// Whether the object is there. Never blocks. Throws "Construction of static object has failed." when it
    /// never will be.
    bool _isConstructed() const {
        std::uint64_t const state = m_state.load(std::memory_order_acquire);
        if (state == kConstructed)
            return true;
        if (state == kFailed)
            throwGlobalObjectError("Construction of static object has failed.");
        return false;
    }

private:
    // The interface fixes these values, which stray memory is unlikely to hold.
    static constexpr std::uint64_t kConstructed = 0x47a592fe710a82bc;
    static constexpr std::uint64_t kFailed = 0xfe3493ad1f6783bd;

    void constructOrWait() {
        while (!_isConstructed()) {
            if (m_isGone.load(std::memory_order_acquire))
                throwGlobalObjectError("The static object has been destroyed.");
            if (isBegun())
                threadYield(true);
            else
                constructUnlessBegun();
        }
    }

    // Waiting threads read the flag without the mutex. This uses the compiler's own atomic access, because
    // the flag is the user's plain char and C++17 has no std::atomic_ref.
    bool isBegun() const { return __atomic_load_n(&m_guard(), __ATOMIC_ACQUIRE) != 0; }

    static void setGuard(char& guard, char value) { __atomic_store_n(&guard, value, __ATOMIC_RELEASE); }

    void constructUnlessBegun() {
        CMutexLock const lock(getGlobalMutex());
        // Another thread may have constructed it, or failed, while this one waited for the lock. A failure
        // resets the flag, so the flag alone does not show which.
        if (_isConstructed() || isBegun())
            return;
        char& guard = m_guard();
        setGuard(guard, 1);
        construct(guard);
    }

    void construct(char& guard) {
        try {
            m_object = m_create();
        } catch (...) {
            setGuard(guard, 0);
            m_state.store(kFailed, std::memory_order_release);
            throw;
        }
        // Last, because readers take the object without a lock as soon as they see this.
        m_state.store(kConstructed, std::memory_order_release);
    }

    GuardFunction m_guard;
    CreateFunction m_create;
    P<T> m_object;
    std::atomic<std::uint64_t> m_state{0};
    std::atomic<bool> m_isGone{false};
};

} // namespace fdn
