#pragma once

#include <fdn/TSafeGlobalPointer.h>

#include <atomic>

namespace fdn {

/// The guard of a global object that is the only one of its class.
template <class T>
char& getOnlyGuard() {
    static char guard = 0;
    return guard;
}

/// Makes such an object with its default constructor.
template <class T>
P<T> createOnly() {
    return newObj<T>();
}

/// The object that a safe global pointer holds, constructed by the first call. It is never destroyed, because
/// the destructors of other globals may use it after the pointer's own has run. Throws what the pointer
/// throws. Any thread may call it.
///
/// A class with one global object needs no more than getKeptGlobal<CThing>(). Guard and create functions tell
/// several of one class apart, or have the names that the interface fixes.
///
/// Only the global mutex is locked during the construction. Were the object constructed in the initialization
/// of a local static, the lock of that static would be a second one, and two threads could take both in
/// opposite orders.
template <class T, char& (*guard)() = &getOnlyGuard<T>, P<T> (*create)() = &createOnly<T>>
T& getKeptGlobal() {
    static std::atomic<T*> kept{nullptr};
    if (T* const object = kept.load(std::memory_order_acquire))
        return *object;
    static TSafeGlobalPointer<T> global(guard, [] {
        P<T> object = create();
        object->addRef(); // the reference that nobody drops
        return object;
    });
    kept.store(&*global, std::memory_order_release);
    return *kept;
}

} // namespace fdn
