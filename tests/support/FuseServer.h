#pragma once

#include <fdn/system/Descriptor.h>

#include <functional>
#include <optional>
#include <string>
#include <thread>

#include <linux/fuse.h>
#include <sys/types.h>

namespace test {

/// Whether this process can mount a file system that it serves itself: it must be root, and the machine must
/// have /dev/fuse.
bool canMountFuse();

/// The answer to a request of the kernel (linux/fuse.h): an error number, or 0 and the content that the
/// request asks for.
struct FuseAnswer {
    int error = 0;
    std::string content;
};

/// A file system that this process serves, mounted over a folder while the object lives. Everybody may enter
/// it (allow_other), as if `mounter` had mounted it. The destructor releases everybody who still waits for an
/// answer.
class FuseServer {
public:
    /// Called on the server's own thread for each request but the first, with what follows the request's
    /// header. If it returns nothing, the request stays unanswered and whoever made it waits.
    using Answer =
        std::function<std::optional<FuseAnswer>(fuse_in_header const& request, std::string const& argument)>;

    /// Throws std::system_error when it cannot mount.
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
