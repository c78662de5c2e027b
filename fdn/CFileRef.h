#pragma once

#include <fdn/Path.h>

namespace fdn {

/// A handle on an existing file, or folder, by its path. A plain value: it opens and keeps nothing, and each
/// operation looks the path up again. Any thread may use it.
class FDN_EXPORT CFileRef {
public:
    /// Touches no file.
    explicit CFileRef(Path const& path) : m_path(path) {}

    /// Sets the permission bits, the set-ID bits and the sticky bit (POSIX chmod): the octal digits 07777 of
    /// `mode`. The umask does not matter. A symbolic link is followed. Throws a CError that names the file.
    void setUnixMode(unsigned mode) const;

    /// Sets owner and group (POSIX chown). A symbolic link is followed with true; with false the link itself
    /// changes hands. The system may clear the set-ID bits. Throws a CError that names the file.
    void setUnixOwnerAndGroup(unsigned uid, unsigned gid, bool followLinks) const;

private:
    Path m_path;
};

} // namespace fdn
