#pragma once

#include <fdn/String.h>
#include <fdn/accounts/UserRecord.h>
#include <fdn/containers.h>

#include <string>
#include <vector>

namespace fdn {

/// The environment of a program, as "NAME=value" in the system's encoding: exactly the given variables or,
/// when that is null, the caller's own. In a set-user-ID program null means the system's PATH alone. Throws
/// CError for a variable without a proper name, and CUnencodableStringError for texts that the system cannot
/// be given.
std::vector<std::string> composeEnvironment(TMap<String, String> const* given);

/// The caller's environment with these variables in place of any that it has, and without the address of the
/// caller's supervisor, NOTIFY_SOCKET. Throws as above.
std::vector<std::string> composeUnsupervisedEnvironment(TMap<String, String> const& variables);

/// Sets the variables that follow the account (POSIX, Environment Variables): HOME, USER, LOGNAME and SHELL.
void setAccountVariables(std::vector<std::string>& environment, UserRecord const& account);

} // namespace fdn
