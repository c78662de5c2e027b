#include <dmn/id/DaemonId.h>

#include <fdn/CError.h>
#include <fdn/Path.h>

#include <limits.h>

namespace dmn {

namespace {

fdn::Path getPIDFileName(fdn::String const& id) {
    return fdn::Path(id + ".pid");
}

// A file name's limit counts bytes, not characters (POSIX NAME_MAX).
bool isFileName(fdn::Path const& name) {
    try {
        return fdn::toFileName(name).length() <= NAME_MAX;
    } catch (fdn::CUnencodableStringError const&) {
        return false;
    }
}

} // namespace

bool isDaemonId(fdn::String const& id) {
    return !id.empty() && id != "." && id != ".." && id.find('/') == fdn::String::npos &&
           isFileName(getPIDFileName(id));
}

void requireDaemonId(fdn::String const& id) {
    if (!isDaemonId(id))
        throw fdn::CError("Invalid daemon id: '" + id + "'.");
}

fdn::Path getPIDFilePath(fdn::Path const& controlFolder, fdn::String const& id) {
    requireDaemonId(id);
    return controlFolder << getPIDFileName(id);
}

} // namespace dmn
