#pragma once

#include "support/FuseServer.h"

namespace test {

/// A file system that never answers, mounted over a folder while the object lives: whoever touches anything
/// in it waits and cannot even be killed. Needs canMountFuse() and a private root.
///
/// Only the destructor releases those who wait, so it must run in any case: let children and other threads
/// touch the folder, never the thread of the test.
class SilentFileSystem {
public:
    SilentFileSystem(std::string const& folder, uid_t mounter)
        : m_server(folder, mounter,
                   [](fuse_in_header const&, std::string const&) { return std::optional<FuseAnswer>(); }) {}

private:
    FuseServer m_server;
};

} // namespace test
