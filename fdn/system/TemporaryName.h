#pragma once

#include <fdn/system/Descriptor.h>

#include <functional>
#include <string>

namespace fdn {

/// The name that a new file or folder has until it is complete and gets its own. Whatever still has the
/// temporary name when the object goes is deleted.
///
/// Whenever possible the name is the usual one, which is always the same: the next process to use it deletes
/// what a killed one has left behind, so that leftovers never pile up. A lock on the folder (flock) keeps two
/// processes from using the name at once. Nobody waits for the lock: whoever does not get it takes a random
/// name.
class TemporaryName {
public:
    /// Makes the file or folder under the name. Returns whether that succeeded; otherwise errno says why.
    using Make = std::function<bool(char const* name)>;

    /// `folder` must outlive the object. `usualName` is the same for everything of this kind.
    /// `removalFlags` are those with which unlinkat() deletes it: AT_REMOVEDIR for a folder.
    TemporaryName(Descriptor const& folder, char const* usualName, int removalFlags)
        : m_folder(folder), m_usualName(usualName), m_removalFlags(removalFlags) {}

    TemporaryName(TemporaryName const&) = delete;
    TemporaryName& operator=(TemporaryName const&) = delete;
    ~TemporaryName();

    /// Has the file or folder made, which must not replace anything. Returns whether that succeeded;
    /// otherwise errno is the last one of `make`. `action` is the operation that other errors name.
    bool take(Make const& make, char const* action);

    /// The name; empty when nothing has it.
    std::string const& get() const { return m_name; }

    /// Call it when the file or folder has its own name: there is nothing left to delete.
    void forget() { m_name.clear(); }

private:
    bool takeUsual(Make const& make);
    bool takeAs(std::string const& name, Make const& make);

    Descriptor const& m_folder;
    char const* m_usualName;
    int m_removalFlags;
    std::string m_name;
};

} // namespace fdn
