#pragma once

#include <cstddef>
#include <type_traits>
#include <utility>

namespace fdn {

/// A smart pointer that holds one reference to an object with addRef() and release(), or nothing.
///
///     P<CThing> const thing = newObj<CThing>(argument);
///
/// Copying adds a reference; destroying, resetting and reassigning drop one, and the object is deleted with
/// the last. What an object throws when it is destroyed leaves reset(), but ends the process where a P is
/// destroyed or assigned to (a destructor is noexcept). Different P may be used by different threads at once,
/// even for the same object; one and the same P may not.
template <class T>
class P {
public:
    /// Holds nothing.
    P() = default;

    /// Holds nothing.
    P(std::nullptr_t) {}

    /// Holds the object in addition to whoever holds it already: adds a reference (nothing for null).
    P(T* object) : m_object(object) { addRef(); }

    /// Holds the same object: adds a reference.
    P(P const& other) : m_object(other.m_object) { addRef(); }

    /// Takes over the other's reference; the other is empty afterwards.
    P(P&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}

    /// The same for a pointer to a derived class.
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    P(P<U> const& other) : m_object(other.get()) {
        addRef();
    }

    /// The same for a pointer to a derived class.
    template <class U, class = std::enable_if_t<std::is_convertible_v<U*, T*>>>
    P(P<U>&& other)
    noexcept : m_object(other.detach()) {}

    /// Drops the held reference.
    ~P() { release(m_object); }

    /// Holds the other's object, then drops the reference to the one held before.
    P& operator=(P other) noexcept {
        std::swap(m_object, other.m_object);
        return *this;
    }

    /// Takes over the reference that the caller owns, such as the first one of a new object. Adds none.
    static P adopt(T* object) {
        P result;
        result.m_object = object;
        return result;
    }

    /// Hands the held reference to the caller, who must drop it; the P is empty afterwards.
    T* detach() { return std::exchange(m_object, nullptr); }

    /// Drops the held reference. The P is empty before the object learns of it, so that a destructor that
    /// comes back here finds nothing.
    void reset() { release(detach()); }

    /// The held object, or null. No reference is added: the pointer is good only while somebody holds the
    /// object.
    T* get() const { return m_object; }

    /// The held object; there must be one, which is not checked.
    T* operator->() const { return m_object; }

    /// The same.
    T& operator*() const { return *m_object; }

    /// Whether an object is held.
    explicit operator bool() const { return m_object != nullptr; }

    /// Whether both hold the very same object, or nothing.
    friend bool operator==(P const& left, P const& right) { return left.m_object == right.m_object; }

    /// Whether they hold different objects.
    friend bool operator!=(P const& left, P const& right) { return left.m_object != right.m_object; }

private:
    void addRef() const {
        if (m_object != nullptr)
            m_object->addRef();
    }

    static void release(T* object) {
        if (object != nullptr)
            object->release();
    }

    T* m_object = nullptr;
};

/// Makes a T on the heap; the result owns its first reference. What the constructor throws passes through,
/// and nothing is left behind.
template <class T, class... Arguments>
P<T> newObj(Arguments&&... arguments) {
    return P<T>::adopt(new T(std::forward<Arguments>(arguments)...));
}

/// The same where the types of the arguments are given: newObj<CImpersonateInfo, CSystemUserID>(user).
template <class T, class First, class... Rest>
P<T> newObj(First const& first, Rest const&... rest) {
    return P<T>::adopt(new T(first, rest...));
}

} // namespace fdn
