#include "support/FuseServer.h"

#include <cerrno>
#include <cstring>
#include <system_error>

#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

namespace test {

namespace {

constexpr char kDevice[] = "/dev/fuse";
constexpr std::size_t kLargestRequest = 65536;

FuseAnswer agree() {
    fuse_init_out terms = {};
    terms.major = FUSE_KERNEL_VERSION;
    terms.minor = FUSE_KERNEL_MINOR_VERSION;
    terms.max_write = 4096;
    return {0, std::string(reinterpret_cast<char const*>(&terms), sizeof terms)};
}

} // namespace

bool canMountFuse() {
    return geteuid() == 0 && access(kDevice, R_OK | W_OK) == 0;
}

FuseServer::FuseServer(std::string const& folder, uid_t mounter, Answer const& answer)
    : m_folder(folder), m_device(open(kDevice, O_RDWR | O_CLOEXEC)) {
    std::string const user = std::to_string(mounter);
    std::string const options = "fd=" + std::to_string(m_device.get()) + ",rootmode=40000,user_id=" + user +
                                ",group_id=" + user + ",allow_other";
    if (mount("made-up", folder.c_str(), "fuse", MS_NOSUID | MS_NODEV, options.c_str()) == -1)
        throw std::system_error(errno, std::generic_category(), folder);
    m_thread = std::thread([this, answer] { serve(answer); });
}

// Unmounts by force, so that the kernel gives up all waiting requests even if another process has inherited
// the device.
FuseServer::~FuseServer() {
    umount2(m_folder.c_str(), MNT_FORCE | MNT_DETACH);
    m_thread.join();
}

void FuseServer::serve(Answer const& answer) const {
    std::string buffer(kLargestRequest, '\0');
    while (true) {
        ssize_t const length =
            fdn::uninterrupted([&] { return read(m_device.get(), buffer.data(), buffer.size()); });
        if (length < static_cast<ssize_t>(sizeof(fuse_in_header)))
            return;
        fuse_in_header request = {};
        std::memcpy(&request, buffer.data(), sizeof request);
        std::string const argument(buffer, sizeof request, static_cast<std::size_t>(length) - sizeof request);
        auto const reply = request.opcode == FUSE_INIT ? agree() : answer(request, argument);
        if (reply)
            send(request, *reply);
    }
}

void FuseServer::send(fuse_in_header const& request, FuseAnswer const& answer) const {
    fuse_out_header header = {};
    header.len = static_cast<unsigned>(sizeof header + answer.content.size());
    header.error = -answer.error;
    header.unique = request.unique;
    std::string const message =
        std::string(reinterpret_cast<char const*>(&header), sizeof header) + answer.content;
    // Fails if whoever asked has been killed meanwhile, which the test may intend.
    [[maybe_unused]] ssize_t const written = write(m_device.get(), message.data(), message.size());
}

} // namespace test
