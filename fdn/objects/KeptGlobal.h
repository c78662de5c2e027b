#pragma once

#include <fdn/TSafeGlobalPointer.h>

#include <atomic>

namespace fdn {

/// The object that a safe global pointer holds, constructed by the first call, with a reference to it that is
/// never dropped: destructors of other globals may use it after the pointer's own. Throws what the pointer
/// throws.
///
/// No lock is held while it is constructed but the global mutex, which the thread that constructs another
/// global may hold: not the one of a local static's initialisation either.
template <class T, char& (*guard)(), P<T> (*create)()>
T& getKeptGlobal() {
    static std::atomic<T*> kept{nullptr};
    if (T* const object = kept.load(std::memory_order_acquire))
        return *object;
    static TSafeGlobalPointer<T> global(guard, [] {
        P<T> object = create();
        object->addRef();
        return object;
    });
    kept.store(&*global, std::memory_order_release);
    return *kept;
}

} // namespace fdn
