#pragma once

#include <fdn/Path.h>

namespace fdn {

/// The well-known folders of an application. A plain value; any thread may use it.
class FDN_EXPORT CSystemPaths {
public:
    /// `name` is the application's name, and becomes the name of its folders. Throws CError when no folder
    /// can have it: when it is empty, "." or "..", or contains a "/". Touches no file.
    explicit CSystemPaths(String const& name);

    /// The folder for transient data that all processes and users of the application share, and that is gone
    /// after a reboot (FHS 3.0, 3.15): /run/NAME, or /var/run/NAME where there is no folder /run. With
    /// `create`, a missing folder is also made, with the mode 0755 less the umask. Throws a CError that names
    /// the folder when that fails, or when the system cannot tell about /run.
    Path getSharedAppTransientFolder(bool create) const;

private:
    Path m_name;
};

} // namespace fdn
