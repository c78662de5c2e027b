#include <dmn/start/TransientFolder.h>

#include <fdn/CError.h>
#include <fdn/CSystemAccountManager.h>
#include <fdn/CSystemPaths.h>
#include <fdn/files.h>

namespace dmn {

namespace {

// The owner gets everything, the group may look and enter, others get nothing.
constexpr int kMode = 0750;

unsigned getOwner(fdn::CImpersonateInfo const* impersonation) {
    return impersonation == nullptr ? 0 : impersonation->getUserID().getUID();
}

unsigned getGroup(StartSettings const& settings) {
    bool const isSet = !settings.transientFolderGroup.empty();
    fdn::String const& name = isSet ? settings.transientFolderGroup : settings.runAs;
    return fdn::CSystemAccountManager::get().getGroupID(name).getGID();
}

} // namespace

bool isTransientFolder(StartSettings const& settings) {
    if (settings.transientFolderAppID.empty())
        return false;
    try {
        fdn::CSystemPaths const paths(settings.transientFolderAppID);
        return paths.getSharedAppTransientFolder(false).getText() == settings.controlFolder.getText();
    } catch (fdn::CError const&) {
        return false; // the start itself reports such a name
    }
}

void prepareTransientFolder(StartSettings const& settings, fdn::CImpersonateInfo const* impersonation) {
    fdn::String const& appID = settings.transientFolderAppID;
    if (appID.empty())
        return;
    if (appID.find('/') != fdn::String::npos)
        throw fdn::CError("Invalid transient folder app id: '" + appID + "'.");
    fdn::Path const folder = fdn::CSystemPaths(appID).getSharedAppTransientFolder(false);
    // An existing folder needs no group: a group that is unknown by now must not keep the daemon from
    // starting.
    if (!fdn::folderExists(folder))
        fdn::ensureOwnedFolderExists(folder, kMode, getOwner(impersonation), getGroup(settings));
}

} // namespace dmn
