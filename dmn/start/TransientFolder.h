#pragma once

#include <fdn/Path.h>
#include <fdn/String.h>

namespace dmn {

/// Whom a transient folder is made for.
struct FolderOwner {
    unsigned uid;
    unsigned gid;
};

/// The transient folder of this application ID. Throws CError for an ID that is no folder's
/// name.
fdn::Path getTransientFolder(fdn::String const& appID);

/// Makes the folder, complete with its mode and owner, and leaves one that exists as it is. After an error
/// there is none, because the next start would keep a folder of the wrong owner.
void makeTransientFolder(fdn::String const& appID, FolderOwner const& owner);

} // namespace dmn
