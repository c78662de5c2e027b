#pragma once

#include <string>
#include <vector>

namespace test {

/// The names in a folder, sorted; a missing folder has none.
std::vector<std::string> entriesOf(std::string const& folder);

/// The target of a symbolic link, as the link has it. Fails the running test when there is no such link.
std::string targetOf(std::string const& link);

/// The permission, set-ID and sticky bits of a file, and the numbers of its owner and group; of a link, not
/// of its target. They fail the running test when there is no such file.
unsigned modeOf(std::string const& path);
unsigned ownerOf(std::string const& path);
unsigned groupOf(std::string const& path);

/// These set them, following links. They fail the running test when they cannot.
void setMode(std::string const& path, unsigned mode);
void setOwner(std::string const& path, unsigned owner, unsigned group);

} // namespace test
