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

    void addRef() const override;
    bool release() const override;
    bool checkCastAllowed(std::type_info const& type) const override;
    void deleteThis() override;

private:
    mutable std::atomic<std::uint32_t> m_references{1};
};

} // namespace fdn
