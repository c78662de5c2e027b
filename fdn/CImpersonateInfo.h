#pragma once

#include <fdn/CBase.h>
#include <fdn/CSystemAccountManager.h> // where its user comes from
#include <fdn/TBuffer.h>

namespace fdn {

/// The account that forkAndExec() starts a program under, and the secret that proves the right to use it:
///
///     auto const account = newObj<CImpersonateInfo>(CSystemAccountManager::get().getUserID("www-data"));
///
/// The secret is always empty, because on Unix the right comes from being root. It stays because the
/// interface is fixed. The object does not change, so any thread may use it.
class FDN_EXPORT CImpersonateInfo : public CBase {
public:
    /// For this user, with an empty secret.
    explicit CImpersonateInfo(CSystemUserID const& user);

    ~CImpersonateInfo() override;

    /// The account to become.
    CSystemUserID const& getUserID() const { return m_user; }

    /// The proof of the right to use it; empty.
    TCryptBuffer<wchar_t> const& getSecret() const { return m_secret; }

private:
    CSystemUserID m_user;
    TCryptBuffer<wchar_t> m_secret;
};

} // namespace fdn
