#pragma once

#include <fdn/CBase.h>
#include <fdn/CSystemUserID.h>
#include <fdn/TBuffer.h>

namespace fdn {

/// Whom a program is started as: an account and the secret that proves the right to use it. The secret is
/// empty, because on Unix the right comes from being root. Made with newObj<CImpersonateInfo>(user).
class FDN_EXPORT CImpersonateInfo : public CBase {
public:
    /// The secret is empty.
    explicit CImpersonateInfo(CSystemUserID const& user) : m_user(user) {}

    /// The account to become.
    CSystemUserID const& getUserID() const { return m_user; }

    /// The proof of the right to it; empty.
    TCryptBuffer<wchar_t> const& getSecret() const { return m_secret; }

private:
    CSystemUserID m_user;
    TCryptBuffer<wchar_t> m_secret;
};

} // namespace fdn
