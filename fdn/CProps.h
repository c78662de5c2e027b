#pragma once

#include <fdn/CBase.h>
#include <fdn/String.h>
#include <fdn/containers.h>

namespace fdn {

/// The free-form properties of an error, ordered by name, for programs to look at: a map that can also be
/// shared by reference counting.
///
///     CProps const props{{"func", "open"}, {"action", "reading the settings"}, {"path", path.getText()}};
///
/// The errors of system calls carry "func" (the call that failed), "action" (the operation during which it
/// failed) and, where there is one, "path", "program" or "account" (what it was about). A property that an
/// error does not have is missing, not empty.
class FDN_EXPORT CProps : public TMap<String, String>, public CBase {
public:
    using TMap<String, String>::TMap;

    /// No properties.
    CProps() = default;

    /// A copy of the properties, with a count of its own.
    CProps(CProps const& other) = default;

    /// Takes over the properties; the count stays.
    CProps& operator=(CProps const& other) = default;

    ~CProps() override;
};

} // namespace fdn
