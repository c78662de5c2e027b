#include <dmn/check/TransientPlace.h>

#include <fdn/CError.h>
#include <fdn/CSystemPaths.h>

#include <algorithm>
#include <iterator>

namespace dmn {

namespace {

bool isInEmptiedPlace(fdn::Path const& folder) {
    constexpr char const* places[] = {"/run/", "/var/run/", "/tmp/", "/dev/shm/"};
    return std::any_of(std::begin(places), std::end(places),
                       [&](char const* place) { return folder.getText().StartsWith(place); });
}

} // namespace

bool isTransientFolder(StartSettings const& settings) {
    if (settings.transientFolderAppID.empty())
        return false;
    try {
        fdn::CSystemPaths const paths(settings.transientFolderAppID);
        return paths.getSharedAppTransientFolder(false).getText() == settings.controlFolder.getText();
    } catch (fdn::CError const&) {
        return false; // the name is reported as what it is
    }
}

Findings checkPlace(StartSettings const& settings) {
    if (!isInEmptiedPlace(settings.controlFolder) || isTransientFolder(settings))
        return {};
    return {
        {"The control folder '" + settings.controlFolder.getText() +
             "' is gone after the next boot, and no start makes it again: install the daemon with another "
             "one, or with the option --transientFolderAppID.",
         ""}};
}

} // namespace dmn
