#include <dmn/start/prepareTransientFolder.h>

#include <dmn/start/TransientFolder.h>

#include <fdn/CError.h>
#include <fdn/CSystemAccountManager.h>
#include <fdn/files.h>

namespace dmn {

namespace {

FolderOwner getTransientFolderOwner(StartSettings const& settings,
                                    fdn::CImpersonateInfo const* impersonation) {
    bool const hasGroup = !settings.transientFolderGroup.empty();
    fdn::String const& group = hasGroup ? settings.transientFolderGroup : settings.runAs;
    return {impersonation == nullptr ? 0 : impersonation->getUserID().getUID(),
            fdn::CSystemAccountManager::get().getGroupID(group).getGID()};
}

} // namespace

void prepareTransientFolder(StartSettings const& settings, fdn::CImpersonateInfo const* impersonation) {
    fdn::String const& appID = settings.transientFolderAppID;
    if (appID.empty())
        return;
    if (appID.find('/') != fdn::String::npos)
        throw fdn::CError("Invalid transient folder app id: '" + appID + "'.");
    if (!fdn::folderExists(getTransientFolder(appID)))
        makeTransientFolder(appID, getTransientFolderOwner(settings, impersonation));
}

} // namespace dmn
