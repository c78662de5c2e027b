#include <dmn/init/RunLevels.h>

#include <fdn/CFileSystemIterator.h>
#include <fdn/files.h>

#include <dmn/init/FileQuestions.h>
#include <dmn/init/InitFolder.h>

#include <algorithm>

namespace dmn {

namespace {

constexpr std::size_t kPrefix = 3; // S90

// Levels without links count as ones that start the daemon: the interface gives them the name of a start
// link.
LinkKind getLinkKind(int level) {
    for (RunLevel const& runLevel : kRunLevels) {
        if (runLevel.level == level)
            return runLevel.kind;
    }
    return LinkKind::Start;
}

// Whether the name is that of a start or kill link of this ID. Any sequence number of two characters will do,
// because other tools renumber links.
bool isLinkNameOf(fdn::String const& id, fdn::String const& name) {
    return (name.StartsWith("K") || name.StartsWith("S")) && name.EndsWith(id) &&
           name.length() == id.length() + kPrefix;
}

// Looking at links is what takes long, so only those that matter are looked at.
void addStartedIds(RunLevel const& runLevel, std::set<fdn::String> const& wanted,
                   std::set<fdn::String>& ids) {
    try {
        fdn::Path const folder = locateRunLevelFolder(runLevel.level);
        fdn::CFileSystemIterator entries(folder);
        while (entries.next()) {
            fdn::String const& name = entries.getItemName();
            if (!name.StartsWith("S") || name.length() <= kPrefix)
                continue;
            fdn::String const id = name.substr(kPrefix);
            bool const isOpen = wanted.count(id) > 0 && ids.count(id) == 0;
            if (isOpen && seemsThere(folder << fdn::Path(name)))
                ids.insert(id);
        }
    } catch (fdn::CError const&) { // NOLINT(bugprone-empty-catch): it starts nothing
    }
}

fdn::Path createLink(fdn::Path const& script, int level, fdn::String const& id) {
    fdn::Path const link = locateRunLevelFolder(level) << fdn::Path(composeRunLevelLinkName(level, id));
    deleteFromInitFolder(link);
    fdn::createFileSymLink(script, link);
    return link;
}

// After an error, which is the one to report.
void deleteQuietly(fdn::Path const& link) {
    try {
        deleteFromInitFolder(link);
    } catch (fdn::CError const&) { // NOLINT(bugprone-empty-catch): it gets as far as it can
    }
}

void removeLinks(fdn::Path const& folder, fdn::String const& id) {
    fdn::CFileSystemIterator entries(folder);
    while (entries.next()) {
        if (isLinkNameOf(id, entries.getItemName()))
            deleteFromInitFolder(entries.getItemPath());
    }
}

bool hasLink(RunLevel const& runLevel, fdn::String const& id) {
    fdn::TArray<fdn::Path> const links = findRunLevelLinks(runLevel, id);
    return std::any_of(links.begin(), links.end(), seemsThere);
}

} // namespace

fdn::Path locateRunLevelFolder(int level) {
    return findInitFolder(fdn::String::Format("rc%d.d", level));
}

fdn::String composeRunLevelLinkName(int level, fdn::String const& id) {
    return (getLinkKind(level) == LinkKind::Kill ? "K10" : "S90") + id;
}

fdn::TArray<fdn::Path> findRunLevelLinks(RunLevel const& runLevel, fdn::String const& id) {
    wxUniChar const first = runLevel.kind == LinkKind::Kill ? 'K' : 'S';
    fdn::TArray<fdn::Path> links;
    fdn::CFileSystemIterator entries(locateRunLevelFolder(runLevel.level));
    while (entries.next()) {
        if (isLinkNameOf(id, entries.getItemName()) && entries.getItemName()[0] == first)
            links.push_back(entries.getItemPath());
    }
    return links;
}

std::set<fdn::String> findStartedIds(int level, std::set<fdn::String> const& wanted) {
    std::set<fdn::String> ids;
    for (RunLevel const& runLevel : kRunLevels) {
        if (runLevel.kind == LinkKind::Start && (level == 0 || runLevel.level == level))
            addStartedIds(runLevel, wanted, ids);
    }
    return ids;
}

void createRunLevelLinks(fdn::Path const& script, fdn::String const& id, bool startAtBoot) {
    for (RunLevel const& runLevel : kRunLevels) {
        if (startAtBoot || runLevel.kind == LinkKind::Kill)
            createLink(script, runLevel.level, id);
    }
}

fdn::TArray<fdn::Path> completeRunLevelLinks(fdn::Path const& script, fdn::String const& id, LinkKind kind) {
    fdn::TArray<fdn::Path> made;
    try {
        for (RunLevel const& runLevel : kRunLevels) {
            if (runLevel.kind == kind && !hasLink(runLevel, id))
                made.push_back(createLink(script, runLevel.level, id));
        }
    } catch (...) {
        for (fdn::Path const& link : made)
            deleteQuietly(link);
        throw;
    }
    return made;
}

fdn::TArray<fdn::Path> removeRunLevelLinks(fdn::String const& id, LinkKind kind) {
    fdn::TArray<fdn::Path> removed;
    for (RunLevel const& runLevel : kRunLevels) {
        if (runLevel.kind != kind)
            continue;
        for (fdn::Path const& link : findRunLevelLinks(runLevel, id)) {
            deleteFromInitFolder(link);
            removed.push_back(link);
        }
    }
    return removed;
}

void removeRunLevelLinks(fdn::String const& id) {
    for (RunLevel const& runLevel : kRunLevels)
        removeLinks(locateRunLevelFolder(runLevel.level), id);
}

} // namespace dmn
