#pragma once

#include <fdn/system/Descriptor.h>

#include <functional>
#include <optional>
#include <string>
#include <thread>

#include <linux/fuse.h>
#include <sys/types.h>

namespace test {

/// Whether this process can mount file systems of its own: it is root, and the machine has /dev/fuse.
bool canMountFuse();

/// An answer to a request of the kernel's (linux/fuse.h): an error number, or 0 and what it wants to know.
struct FuseAnswer {
    int error = 0;
    std::string content;
};

/// A file system that this process makes up, mounted over a folder while the object lives. Everybody may
/// enter it (allow_other), as if the mounter had mounted it. What waits for an answer at the end is released.
class FuseServer {
public:
    /// Called on a thread of its own for each request but the first, with what follows the header. Where it
    /// returns nothing, the request stays without an answer, and whoever has made it waits.
    using Answer =
        std::function<std::optional<FuseAnswer>(fuse_in_header const& request, std::string const& argument)>;

    /// Throws std::system_error when nothing can be mounted.
    FuseServer(std::string const& folder, uid_t mounter, Answer const& answer);
    FuseServer(FuseServer const&) = delete;
    FuseServer& operator=(FuseServer const&) = delete;
    ~FuseServer();

private:
    void serve(Answer const& answer) const;
    void send(fuse_in_header const& request, FuseAnswer const& answer) const;

    std::string m_folder;
    fdn::Descriptor m_device;
    std::thread m_thread;
};

} // namespace test
