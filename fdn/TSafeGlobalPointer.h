#pragma once

#include <fdn/CMutex.h>
#include <fdn/P.h>
#include <fdn/threadYield.h>

#include <atomic>
#include <cstdint>

namespace fdn {

/// Throws a CError with the message, as a safe global pointer does. Defined with the errors, which know the
/// global objects and not the other way round.
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
/// exception and every later one a CError: a failed construction is not tried again. (Constructing at the
/// first use, rather than in the constructor, is what lets the failure be remembered: a static whose
/// constructor throws would be constructed anew by the next caller.)
template <class T>
class TSafeGlobalPointer {
public:
    /// Returns the flag byte of this global; it is zero at first.
    using GuardFunction = char& (*)();
    /// Makes the object; called once.
    using CreateFunction = P<T> (*)();

    /// Constructs nothing yet.
    constexpr TSafeGlobalPointer(GuardFunction guard, CreateFunction create)
        : m_guard(guard), m_create(create) {}

    TSafeGlobalPointer(TSafeGlobalPointer const&) = delete;
    TSafeGlobalPointer& operator=(TSafeGlobalPointer const&) = delete;

    ~TSafeGlobalPointer() {
        m_isGone.store(true, std::memory_order_release);
        m_state.store(0, std::memory_order_release);
        m_object.reset();
    }

    /// The object, constructed by this call if it is the first. Waits, without a lock, while another thread
    /// constructs it; only the first user waits for the construction of other globals. Throws what the create
    /// function throws to the first user, "Construction of static object has failed." to later ones, and a
    /// CError to those that come after its destruction.
    T& operator*() {
        if (!_isConstructed())
            constructOrWait();
        return *m_object;
    }

    /// The same as the operator *, which may construct, wait and throw.
    T* operator->() { return &**this; }

    /// Whether the object is there. Throws "Construction of static object has failed." when it never will be.
    bool _isConstructed() const {
        std::uint64_t const state = m_state.load(std::memory_order_acquire);
        if (state == kConstructed)
            return true;
        if (state == kFailed)
            throwGlobalObjectError("Construction of static object has failed.");
        return false;
    }

private:
    // Values that no stray memory is likely to hold.
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

    // Threads that wait look at the flag without the mutex; its type is the user's.
    bool isBegun() const { return __atomic_load_n(&m_guard(), __ATOMIC_ACQUIRE) != 0; }

    static void setGuard(char& guard, char value) { __atomic_store_n(&guard, value, __ATOMIC_RELEASE); }

    void constructUnlessBegun() {
        CMutexLock const lock(getGlobalMutex());
        // Another thread may have failed while this one waited for the lock; that has reset the guard.
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
        m_state.store(kConstructed, std::memory_order_release);
    }

    GuardFunction m_guard;
    CreateFunction m_create;
    P<T> m_object;
    std::atomic<std::uint64_t> m_state{0};
    std::atomic<bool> m_isGone{false};
};

} // namespace fdn
