#pragma once

#include <fdn/Export.h>

#include <typeinfo>

namespace fdn {

/// The root interface of every reference-counted object. Interfaces derive from it virtually, so that a class
/// which implements several of them still has one count. Implemented by CBase; held through P<T>.
class FDN_EXPORT IBase {
public:
    virtual ~IBase();

    /// Adds one reference. Any thread may call it while somebody is sure to hold the object.
    virtual void addRef() const = 0;

    /// Drops one reference and deletes the object when it was the last. Any thread may call it.
    /// Returns true while the object lives on; after false it must not be used any more. Whatever
    /// deleteThis() throws reaches the caller.
    virtual bool release() const = 0;

    /// Whether the object may be treated as the given type. True for every type unless a class overrides it.
    virtual bool checkCastAllowed(std::type_info const& type) const = 0;

    /// Destroys and frees the object. Called by release(), never by users of the object. A class whose
    /// destruction can fail throws from an override of this, not from its destructor: one that may throw
    /// forces the same on the destructor of every class that has such an object as a base or a member.
    virtual void deleteThis() = 0;
};

} // namespace fdn
