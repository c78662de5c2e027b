#include <dmnctl/selection/selection.h>

#include <dmnctl/show/text.h>

#include <dmn/installedDaemons.h>

#include <fdn/CError.h>

#include <algorithm>

namespace dmnctl {

namespace {

constexpr std::size_t kMostNames = 20; // that can be taken in at a glance

std::string listSome(fdn::TList<fdn::String> const& ids) {
    std::string list;
    std::size_t count = 0;
    for (fdn::String const& id : ids) {
        if (++count > kMostNames)
            return list + ", and " + std::to_string(ids.size() - kMostNames) + " more ('dmnctl list').";
        list += (list.empty() ? "" : ", ") + toUTF8(id);
    }
    return list + ".";
}

std::string describeInstalled() {
    fdn::TList<fdn::String> const ids = dmn::findInstalledDaemons();
    return ids.empty() ? "No daemon is installed." : "Installed are: " + listSome(ids);
}

bool isInstalled(fdn::String const& id) {
    try {
        dmn::requireInstalledDaemon(id);
        return true;
    } catch (fdn::CError const& error) {
        printError(toUTF8(error.getMessage()) + " " + describeInstalled());
        return false;
    }
}

} // namespace

Selection selectDaemons(Daemons const& daemons) {
    Selection selection;
    if (daemons.ids.empty()) {
        selection.ids = dmn::findInstalledDaemons();
        return selection;
    }
    for (std::string const& name : daemons.ids) {
        fdn::String const id = fromUTF8(name);
        if (std::find(selection.ids.begin(), selection.ids.end(), id) != selection.ids.end())
            continue;
        if (isInstalled(id))
            selection.ids.push_back(id);
        else
            selection.isComplete = false;
    }
    return selection;
}

bool performForEach(Daemons const& daemons, DaemonAction const& action, DaemonAction const& afterFailure) {
    Selection const selection = selectDaemons(daemons);
    bool isDone = selection.isComplete;
    for (fdn::String const& id : selection.ids) {
        try {
            action(id);
        } catch (fdn::CError const& error) {
            printError(toUTF8(error.getMessage()));
            isDone = false;
            if (afterFailure)
                afterFailure(id);
        }
    }
    return isDone;
}

std::string composeNoDaemons() {
    return "No daemon is installed. To install a program that is built on libdmn: PROGRAM install "
           "--controlFolder=FOLDER";
}

} // namespace dmnctl
