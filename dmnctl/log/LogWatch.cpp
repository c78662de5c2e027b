#include <dmnctl/log/LogWatch.h>

#include <fdn/fileName.h>
#include <fdn/files.h>

#include <cerrno>
#include <cstring>

#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

namespace dmnctl {

namespace {

constexpr std::uint32_t kEvents = IN_CREATE | IN_MODIFY | IN_ATTRIB | IN_MOVED_FROM | IN_MOVED_TO |
                                  IN_DELETE | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

constexpr int kOneSecond = 1000;

// Of some changes the system does not tell: those that another machine makes in a file system of the network,
// and a new name of a folder further up.
constexpr int kTenSeconds = 10000;

fdn::Path getFolder(fdn::Path const& file) {
    fdn::String const folder = file.getText().BeforeLast('/');
    return fdn::Path(folder.empty() ? fdn::String("/") : folder);
}

bool isRoot(fdn::Path const& folder) {
    return folder.getText() == "/";
}

// Returns the system's error number, or 0.
int addWatch(int inotify, fdn::Path const& folder) {
    if (fdn::isSilent(folder))
        return ETIMEDOUT;
    wxCharBuffer const name = fdn::toFileName(folder); // freed after errno is read
    return inotify_add_watch(inotify, name, kEvents) == -1 ? errno : 0;
}

// What has happened does not matter: whoever waits looks at everything.
void drain(int inotify) {
    alignas(inotify_event) char events[64 * 1024];
    ssize_t const size = read(inotify, events, sizeof events);
    static_cast<void>(size);
}

} // namespace

LogWatch::LogWatch(std::vector<fdn::Path> const& files) : m_inotify(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
    if (!m_inotify.isOpen())
        refuse(errno);
    for (fdn::Path const& file : files)
        m_folders.push_back(getFolder(file));
}

void LogWatch::renew() {
    for (fdn::Path const& folder : m_folders) {
        if (m_refusal.empty())
            watch(folder);
    }
}

// A folder may come into being between the look for it and the watch on the one above it. So this looks again
// until nothing has changed.
void LogWatch::watch(fdn::Path const& folder) {
    fdn::Path nearest = watchNearest(folder);
    for (fdn::Path before; before.getText() != nearest.getText();) {
        before = nearest;
        nearest = watchNearest(folder);
    }
}

// Where the folder is missing, the next one above it will tell when it is made. Returns which one is watched.
fdn::Path LogWatch::watchNearest(fdn::Path const& wanted) {
    fdn::Path folder = wanted;
    while (int const error = addWatch(m_inotify.get(), folder)) {
        bool const isMissing = error == ENOENT || error == ENOTDIR;
        if (!isMissing || isRoot(folder)) {
            refuse(error);
            break;
        }
        folder = getFolder(folder);
    }
    return folder;
}

bool LogWatch::wait() const {
    pollfd sources[] = {{STDOUT_FILENO, 0, 0}, {m_inotify.get(), POLLIN, 0}};
    poll(sources, 2, m_refusal.empty() ? kTenSeconds : kOneSecond);
    drain(m_inotify.get());
    return sources[0].revents == 0;
}

void LogWatch::refuse(int error) {
    m_refusal = std::strerror(error);
}

} // namespace dmnctl
