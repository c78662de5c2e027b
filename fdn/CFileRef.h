#pragma once

#include <fdn/Path.h>

namespace fdn {

/// An existing file or folder, named by its path. A plain value: it opens nothing and keeps only the path,
/// which each operation looks up again, so the file may be another one by then. Any thread may use it.
class FDN_EXPORT CFileRef {
public:
    /// Touches no file.
    explicit CFileRef(Path const& path) : m_path(path) {}

    /// Sets the permission bits, the set-ID bits and the sticky bit (POSIX chmod) to the octal digits 07777
    /// of `mode`. The umask does not matter. A symbolic link is followed. Throws a CError that names the
    /// file, which then keeps its mode.
    void setUnixMode(unsigned mode) const;

    /// Sets owner and group (POSIX chown). With `followLinks`, the target of a symbolic link gets them, and
    /// otherwise the link itself. The system may clear the set-ID bits. Only root may give a file to another
    /// user. Throws a CError that names the file, which then keeps both.
    void setUnixOwnerAndGroup(unsigned uid, unsigned gid, bool followLinks) const;

private:
    Path m_path;
};

} // namespace fdn
