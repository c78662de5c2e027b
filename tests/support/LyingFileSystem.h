#pragma once

#include "support/FuseServer.h"

namespace test {

/// A file as a LyingFileSystem describes it.
struct ToldFile {
    std::string name;
    std::string content;
    uid_t owner = 0; ///< of the folder, too
    mode_t mode = 0644;
    bool canBeOpened = true; ///< otherwise whoever opens it waits, and cannot even be killed
};

/// A file system that says of itself what it likes, mounted over a folder while the object lives. There is
/// one file in it, which can be looked at, opened and read; it cannot be listed. Everything else is refused.
/// Needs canMountFuse() and a private root.
class LyingFileSystem {
public:
    LyingFileSystem(std::string const& folder, uid_t mounter, ToldFile const& file);

private:
    FuseServer m_server;
};

} // namespace test
