#include "PIDFilePath.h"

#include <fdn/CError.h>
#include <fdn/files.h>

#include <limits.h>

namespace dmn {

namespace {

fdn::Path getPIDFileName(fdn::String const& id) {
    return fdn::Path(id + ".pid");
}

} // namespace

bool isDaemonId(fdn::String const& id) {
    return !id.empty() && id != "." && id != ".." && id.find('/') == fdn::String::npos &&
           id.find(L'\0') == fdn::String::npos && fdn::toFileName(getPIDFileName(id)).length() <= NAME_MAX;
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
