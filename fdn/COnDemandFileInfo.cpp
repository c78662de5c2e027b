#include <fdn/COnDemandFileInfo.h>

#include <fdn/sysError.h>

#include <sys/stat.h>

namespace fdn {

unsigned COnDemandFileInfo::getUnixMode() const {
    wxCharBuffer const name = toFileName(m_path);
    struct stat info = {};
    auto* const examine = m_followLinks ? stat : lstat;
    if (examine(name, &info) != 0)
        throwLastSysError(m_followLinks ? "stat" : "lstat", "COnDemandFileInfo::getUnixMode", m_path);
    return info.st_mode & 07777U;
}

} // namespace fdn
