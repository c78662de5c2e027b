#pragma once

#include <fdn/Path.h>

namespace fdn {

/// What the system knows about an existing file or folder. Each query asks the system again, and nothing is
/// kept, so two answers may be about two moments. A plain value; any thread may use it.
class FDN_EXPORT COnDemandFileInfo {
public:
    /// `followLinks`: whether queries about a symbolic link concern its target (true) or the link itself
    /// (false).
    COnDemandFileInfo(Path const& path, bool followLinks) : m_path(path), m_followLinks(followLinks) {}

    /// The permission bits, the set-ID bits and the sticky bit (POSIX stat): the octal digits 07777 of the
    /// mode, without the file's type. Throws a CError that names the file when it is missing or cannot be
    /// examined.
    unsigned getUnixMode() const;

private:
    Path m_path;
    bool m_followLinks;
};

} // namespace fdn
