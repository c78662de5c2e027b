#include <dmn/start/TransientFolder.h>

#include <fdn/CSystemPaths.h>
#include <fdn/files.h>

namespace dmn {

namespace {

// The owner gets everything, the group may look and enter, others get nothing.
constexpr int kMode = 0750;

} // namespace

fdn::Path getTransientFolder(fdn::String const& appID) {
    return fdn::CSystemPaths(appID).getSharedAppTransientFolder(false);
}

void makeTransientFolder(fdn::String const& appID, FolderOwner const& owner) {
    // A folder that has the name is never touched again, so it must not have it before it is complete.
    fdn::ensureOwnedFolderExists(getTransientFolder(appID), kMode, owner.uid, owner.gid);
}

} // namespace dmn
