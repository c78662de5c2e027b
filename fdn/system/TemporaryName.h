#pragma once

#include <fdn/system/Descriptor.h>

#include <functional>
#include <string>

namespace fdn {

/// The name that a file or folder has in its folder until it is complete and gets its own. What has still the
/// temporary name when the object goes is deleted.
///
/// The name is the usual one whenever possible, so that what a killed process has left behind is deleted by
/// the next one and never becomes many. A lock on the folder (flock) keeps two processes from using the name
/// at once. The lock is not waited for: whoever does not get it takes a random name instead.
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

    /// To be called when the file or folder has got its own name: there is nothing left to delete.
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
