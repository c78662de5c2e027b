#include <fdn/CSystemPaths.h>

#include <fdn/CError.h>
#include <fdn/files.h>

namespace fdn {

namespace {

bool isFolderName(String const& name) {
    return !name.empty() && name != "." && name != ".." && name.find(CUnixPathTraits::kSep) == String::npos;
}

} // namespace

CSystemPaths::CSystemPaths(String const& name) : m_name(name) {
    if (!isFolderName(name))
        throw CError("Invalid application name: '" + name + "'.");
}

Path CSystemPaths::getSharedAppTransientFolder(bool create) const {
    Path const run("/run");
    Path const folder = (folderExists(run) ? run : Path("/var/run")) << m_name;
    if (create)
        ensureFolderExists(folder, 0755);
    return folder;
}

} // namespace fdn
