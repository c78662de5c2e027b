#pragma once

#include <fdn/accounts/UserRecord.h>

#include <vector>

#include <sys/types.h>

namespace fdn {

/// Every group of the account, its own included. Looked up at each call, in the group database.
std::vector<gid_t> findSupplementaryGroups(UserRecord const& record);

} // namespace fdn
