#pragma once

#include <fdn/IBase.h>

#include <atomic>
#include <cstdint>

namespace fdn {

/// The reference count behind every object of the library.
///
/// A new object has a count of one, which belongs to its creator. Copying an object copies no count: the copy
/// starts at one, and assignment leaves the count of its target alone. Objects on the stack simply never drop
/// their first reference.
class FDN_EXPORT CBase : public virtual IBase {
public:
    CBase() = default;
    /// Begins with a count of one, whatever the count of the other object is.
    CBase(CBase const& other);

    /// Changes nothing: a count belongs to its object.
    CBase& operator=(CBase const& other);
    ~CBase() override;

    // Counting is in the header: where the compiler can tell, or guess and check, that an object counts like
    // this, it needs no call.

    void addRef() const override { m_references.fetch_add(1, std::memory_order_relaxed); }

    bool release() const override {
        if (m_references.fetch_sub(1, std::memory_order_acq_rel) != 1)
            return true;
        deleteUnreferenced();
        return false;
    }

    bool checkCastAllowed(std::type_info const& type) const override;
    void deleteThis() override;

private:
    void deleteUnreferenced() const;

    mutable std::atomic<std::uint32_t> m_references{1};
};

} // namespace fdn
