#include <dmnctl/boot/BootLock.h>

#include <fdn/CError.h>
#include <fdn/Path.h>
#include <fdn/sysError.h>

#include <chrono>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace dmnctl {

namespace {

using namespace std::chrono_literals;

constexpr auto kPatience = 60s;
constexpr auto kPause = 50ms;

// A file that only root can open: nobody else can hold up an administrator.
constexpr char kFile[] = "/run/dmnctl.lock";
constexpr int kMode = 0600;

bool lock(int file) {
    auto const end = std::chrono::steady_clock::now() + kPatience;
    while (flock(file, LOCK_EX | LOCK_NB) != 0) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(kPause);
    }
    return true;
}

} // namespace

BootLock::BootLock() : m_file(open(kFile, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, kMode)) {
    if (m_file == -1)
        fdn::throwLastSysError("open", "BootLock", fdn::Path(kFile));
    if (!lock(m_file)) {
        close(m_file);
        throw fdn::CError("Another dmnctl has been changing what starts at boot for a minute. Try again.");
    }
}

BootLock::~BootLock() {
    close(m_file);
}

} // namespace dmnctl
