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
    bool mayWrite = false;
    bool mayExecute = false; ///< of a folder: may enter
};

/// Looks at files as the account of a daemon does.
class AccountsEyes {
public:
    /// This process looks with its own rights.
    AccountsEyes() = default;

    /// For the account, or root for the empty name. Without root's rights, this process looks with its own
    /// instead. Throws a CError for an unknown account, and when the system cannot tell.
    explicit AccountsEyes(fdn::String const& runAs);

    /// Whether it is the account that looks: only then do the rights in an answer mean anything.
    bool areAccounts() const { return m_areAccounts; }

    /// Looks at the file at an absolute path. Changes nothing. Blocks while the file system does. Throws a
    /// CError when the system cannot tell.
    FileLook look(fdn::Path const& path) const;

private:
    fdn::P<fdn::CImpersonateInfo> m_account; // null: that of this process
    bool m_areAccounts = false;
};

} // namespace dmn
