#pragma once

#include <fdn/Path.h>
#include <fdn/String.h>

namespace dmn {

/// Whom a transient folder is made for.
struct FolderOwner {
    unsigned uid;
    unsigned gid;
};

/// The transient folder of this application ID.
fdn::Path getTransientFolder(fdn::String const& appID);

/// Makes the folder and gives it to its owner. It gets its name when it is finished, because one that has the
/// name is never touched again; so it is left alone where another process makes it at the same time. A
/// failure leaves none.
void makeTransientFolder(fdn::String const& appID, FolderOwner const& owner);

} // namespace dmn
