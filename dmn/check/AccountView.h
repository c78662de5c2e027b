#pragma once

#include <fdn/CImpersonateInfo.h>
#include <fdn/P.h>
#include <fdn/Path.h>
#include <fdn/String.h>

namespace dmn {

/// What stops an account on its way to a file.
enum class Barrier {
    None,
    Missing,  ///< a folder on the way is not there
    NoFolder, ///< it is something else
    Closed,   ///< the account may not search it
};

/// What one account finds at a path, with the rights that the system gives it there: its groups, access
/// control lists and mounts included.
struct FileLook {
    Barrier barrier = Barrier::None;
    fdn::Path barrierPath; ///< the first folder that is one; else empty
    bool isMissing = true;
    bool isDanglingLink = false;
    bool isFolder = false;
    bool isRegularFile = false;
    bool isByAccount = false; ///< the account itself has looked; only then do the rights mean anything
    bool mayWrite = false;
    bool mayExecute = false; ///< of a folder: may enter
    bool mayMake = false;    ///< in the last folder on the way that is there
};

/// How the account of a daemon sees files.
class AccountView {
public:
    /// This process looks with its own rights.
    AccountView() = default;

    /// For the account, or root for the empty name. Without root's rights, this process looks with its own
    /// instead. Throws a CError for an unknown account, and when the system cannot tell.
    explicit AccountView(fdn::String const& runAs);

    /// Looks at the file at an absolute path. Changes nothing. Blocks while the file system does. Throws a
    /// CError when the system cannot tell.
    FileLook look(fdn::Path const& path) const;

private:
    fdn::P<fdn::CImpersonateInfo> m_account; // null: that of this process
    bool m_isByAccount = false;
};

} // namespace dmn
