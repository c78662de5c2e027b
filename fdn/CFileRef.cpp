#include <fdn/CFileRef.h>

#include <fdn/sysError.h>

#include <sys/stat.h>
#include <unistd.h>

namespace fdn {

void CFileRef::setUnixMode(unsigned mode) const {
    wxCharBuffer const name = toFileName(m_path);
    if (chmod(name, mode) != 0)
        throwLastSysError("chmod", "CFileRef::setUnixMode", m_path);
}

void CFileRef::setUnixOwnerAndGroup(unsigned uid, unsigned gid, bool followLinks) const {
    wxCharBuffer const name = toFileName(m_path);
    auto* const change = followLinks ? chown : lchown;
    if (change(name, uid, gid) != 0)
        throwLastSysError(followLinks ? "chown" : "lchown", "CFileRef::setUnixOwnerAndGroup", m_path);
}

} // namespace fdn
