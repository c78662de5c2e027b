#pragma once

#include <fdn/Path.h>

namespace fdn {

/// The well-known folders of an application. A plain value; any thread may use it.
class FDN_EXPORT CSystemPaths {
public:
    /// `name` is the application's name, which is to become the name of its folders. Throws CError when it
    /// cannot: when it is empty, "." or "..", or holds a "/".
    explicit CSystemPaths(String const& name);

    /// The folder for transient data that all processes and users of the application share, and that is empty
    /// after a reboot (FHS 3.0, 3.15): /run/NAME, or /var/run/NAME where there is no folder /run.
    /// With true, the folder is also made when it is missing, with the mode 0755 that the umask leaves;
    /// throws a CError that names it when that fails.
    Path getSharedAppTransientFolder(bool create) const;

private:
    Path m_name;
};

} // namespace fdn
