#pragma once

#include <string>
#include <vector>

namespace test {

/// The names in a folder, in order; nothing for a missing folder.
std::vector<std::string> entriesOf(std::string const& folder);

/// What a symbolic link holds. Fails the running test when it is none.
std::string targetOf(std::string const& link);

/// The permission, set-ID and sticky bits of a file, and the numbers of its owner and group. Fails the
/// running test when there is no such file.
unsigned modeOf(std::string const& path);
unsigned ownerOf(std::string const& path);
unsigned groupOf(std::string const& path);

/// Sets them. Fail the running test when they cannot.
void setMode(std::string const& path, unsigned mode);
void setOwner(std::string const& path, unsigned owner, unsigned group);

} // namespace test
