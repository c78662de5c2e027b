#include <fdn/CImpersonateInfo.h>

namespace fdn {

CImpersonateInfo::CImpersonateInfo(CSystemUserID const& user) : m_user(user) {}

CImpersonateInfo::~CImpersonateInfo() = default;

} // namespace fdn
