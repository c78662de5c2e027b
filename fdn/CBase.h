#pragma once

#include <fdn/IBase.h>

#include <atomic>
#include <cstdint>

namespace fdn {

/// The reference count behind every object of the library.
///
/// A new object has a count of one, which belongs to its creator. Copying an object copies no count: the copy
/// starts at one, and assignment leaves the count of its target alone. An object on the stack or in another
/// object never drops its first reference, and must outlive those that P<T> hold to it.
///
/// Any thread may add and drop references; the thread that drops the last one destroys the object, and sees
/// all that the others have done to it before they dropped theirs. Everything else about threads is up to the
/// class.
class FDN_EXPORT CBase : public virtual IBase {
public:
    /// Starts with a count of one.
    CBase() = default;

    /// Starts with a count of one, whatever the count of the other object is.
    CBase(CBase const& other);

    /// Changes nothing: a count belongs to its object.
    CBase& operator=(CBase const& other);

    ~CBase() override;

    // Counting is in the header: where the compiler can tell, or guess and check, that an object counts like
    // this, it needs no call.

    // Relaxed, because whoever adds a reference already has access to the object.
    void addRef() const override { m_references.fetch_add(1, std::memory_order_relaxed); }

    // Released by each thread that drops a reference and acquired by the one that drops the last: so the
    // destructor comes after everything that any of them did.
    bool release() const override {
        if (m_references.fetch_sub(1, std::memory_order_acq_rel) != 1)
            return true;
        deleteUnreferenced();
        return false;
    }

    /// True for every type.
    bool checkCastAllowed(std::type_info const& type) const override;

    /// Deletes the object, which must have been made with new.
    void deleteThis() override;

private:
    void deleteUnreferenced() const;

    mutable std::atomic<std::uint32_t> m_references{1};
};

} // namespace fdn
