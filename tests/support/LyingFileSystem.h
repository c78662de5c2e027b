#pragma once

#include "support/FuseServer.h"

namespace test {

/// The file that a LyingFileSystem pretends to have.
struct ToldFile {
    std::string name;
    std::string content;
    uid_t owner = 0; ///< of the file and the folder; its group has the same number
    mode_t mode = 0644;
    bool canBeOpened = true; ///< if not, whoever opens it waits and cannot even be killed
};

/// A file system that says of itself whatever the test wants, mounted over a folder while the object lives.
/// It has one file, which can be examined, opened and read. The folder cannot be listed, and everything else
/// is refused. Needs canMountFuse() and a private root.
class LyingFileSystem {
public:
    LyingFileSystem(std::string const& folder, uid_t mounter, ToldFile const& file);

private:
    FuseServer m_server;
};

} // namespace test
