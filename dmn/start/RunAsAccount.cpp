#include <dmn/start/RunAsAccount.h>

#include <fdn/CError.h>
#include <fdn/CSystemAccountManager.h>

namespace dmn {

fdn::P<fdn::CImpersonateInfo> findRunAsAccount(fdn::String const& runAs) {
    if (runAs.empty())
        return nullptr;
    fdn::CSystemAccountManager const& accounts = fdn::CSystemAccountManager::get();
    auto impersonation = fdn::newObj<fdn::CImpersonateInfo>(accounts.getUserID(runAs));
    if (!accounts.isProcessUserAdmin())
        throw fdn::CError("Error: Root privileges required.");
    return impersonation;
}

} // namespace dmn
