#pragma once

#include <fdn/Path.h>
#include <fdn/system/Descriptor.h>
#include <fdn/system/TemporaryName.h>
#include <fdn/system/splitPath.h>

namespace fdn {

/// A new folder that gets its name once it is complete. Until then it has a temporary name beside that; if it
/// never gets its own, it is deleted with the object.
///
/// Errors are CErrors that name a path and the operation `action`, or the one that failed within.
class NewFolder {
public:
    /// Makes the folder, empty. The one above it must exist and be readable.
    NewFolder(SplitPath const& place, char const* action);

    NewFolder(NewFolder const&) = delete;
    NewFolder& operator=(NewFolder const&) = delete;

    /// Sets the permission bits of `mode`, whatever the umask is, and then the owner and the group. The
    /// set-ID and sticky bits that the folder has inherited stay.
    void giveTo(int mode, unsigned uid, unsigned gid) const;

    /// Gives the folder its name, unless another process has meanwhile made a folder of this name: then that
    /// one stays, and this one goes.
    void takeName();

private:
    void create();
    bool isFolderThere() const;

    SplitPath m_place;
    char const* m_action;
    Descriptor m_parent;
    TemporaryName m_temporaryName; // goes before the parent
};

} // namespace fdn
