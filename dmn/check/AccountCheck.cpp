#include <dmn/check/AccountCheck.h>

#include <fdn/CError.h>
#include <fdn/CSystemAccountManager.h>
#include <fdn/CSystemPaths.h>

namespace dmn {

namespace {

// Names that the tools of every distribution accept (useradd(8)).
bool canBeMade(fdn::String const& name) {
    return name.length() <= 32 &&
           fdn::String("abcdefghijklmnopqrstuvwxyz_").find(name[0]) != fdn::String::npos &&
           name.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789_-") == fdn::String::npos;
}

// Only an unknown name has no system error: nothing is to be made when the database cannot be read.
fdn::String composeRemedy(fdn::CError const& error, char const* command, fdn::String const& name) {
    return error.getCode() == -1 && canBeMade(name) ? command + name : fdn::String();
}

} // namespace

Findings checkAccount(StartSettings const& settings) {
    if (settings.runAs.empty())
        return {};
    try {
        fdn::CSystemAccountManager::get().getUserID(settings.runAs);
        return {};
    } catch (fdn::CError const& error) {
        return {{error.getMessage(),
                 composeRemedy(error, "useradd --system --user-group --shell /usr/sbin/nologin ",
                               settings.runAs)}};
    }
}

Findings checkTransientFolder(StartSettings const& settings) {
    if (settings.transientFolderAppID.empty())
        return {};
    try {
        fdn::CSystemPaths(settings.transientFolderAppID).getSharedAppTransientFolder(false);
    } catch (fdn::CError const& error) {
        return {{error.getMessage(), ""}};
    }
    fdn::String const& group =
        settings.transientFolderGroup.empty() ? settings.runAs : settings.transientFolderGroup;
    try {
        fdn::CSystemAccountManager::get().getGroupID(group);
        return {};
    } catch (fdn::CError const& error) {
        return {{error.getMessage(), composeRemedy(error, "groupadd --system ", group)}};
    }
}

} // namespace dmn
