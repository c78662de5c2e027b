#pragma once

#include <fdn/Export.h>
#include <fdn/String.h>

namespace fdn {

/// A group: its number and its name. A plain value, which may be copied and kept.
class FDN_EXPORT CSystemGroupID {
public:
    /// Nothing is looked up: getGroupID() of the account manager does that.
    CSystemGroupID(unsigned gid, String const& name) : m_gid(gid), m_name(name) {}

    /// The number by which the system knows the group.
    unsigned getGID() const { return m_gid; }

    /// The name by which the group was looked up.
    String const& getName() const { return m_name; }

private:
    unsigned m_gid;
    String m_name;
};

} // namespace fdn
