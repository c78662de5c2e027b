#include <dmn/init/InitFolder.h>

#include <fdn/CError.h>
#include <fdn/files.h>

namespace dmn {

namespace {

constexpr int kDeleteAttempts = 20;

} // namespace

std::optional<fdn::Path> searchInitFolder(fdn::String const& name) {
    for (char const* const place : {"/etc", "/etc/rc.d"}) {
        fdn::Path const folder = fdn::Path(place) << fdn::Path(name);
        if (fdn::folderExists(folder))
            return folder;
    }
    return std::nullopt;
}

fdn::Path findInitFolder(fdn::String const& name) {
    if (std::optional<fdn::Path> const folder = searchInitFolder(name))
        return *folder;
    // The text is fixed, and so is its spelling.
    throw fdn::CError("Unknown Linux flavor (cannot locate " + name + " directory).");
}

void deleteFromInitFolder(fdn::Path const& entry) {
    fdn::deleteFile(entry, true, kDeleteAttempts, true);
}

} // namespace dmn
