#include <fdn/system/FuseMounts.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <sstream>
#include <string>

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/sysmacros.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace fdn {

namespace {

std::string readMounts() {
    Descriptor const file(open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC));
    std::string content;
    std::array<char, 8192> buffer;
    ssize_t size = 0;
    while (file.isOpen() &&
           (size = uninterrupted([&] { return read(file.get(), buffer.data(), buffer.size()); })) > 0)
        content.append(buffer.data(), static_cast<std::size_t>(size));
    return content;
}

// virtiofs speaks the same protocol with a virtual machine's host. Only root can mount one.
bool isFuseMount(std::string const& line) {
    return line.find(" - fuse") != std::string::npos || line.find(" - virtiofs") != std::string::npos;
}

// The number after the text, which is searched for from the position on; 0 if there is none.
unsigned getNumberAfter(std::string const& text, std::string const& line, std::size_t from) {
    std::size_t const start = line.find(text, from);
    unsigned number = 0;
    if (start != std::string::npos)
        std::from_chars(line.data() + start + text.size(), line.data() + line.size(), number);
    return number;
}

// proc_pid_mountinfo(5): the third word is the device, the fifth is where it is mounted. The user's number
// comes from the last word, which the kernel writes. The one before it, the source, may say whatever the user
// likes.
FuseMount parseMount(std::string const& line) {
    std::array<std::string, 5> words;
    std::istringstream stream(line);
    for (std::string& word : words)
        stream >> word;
    std::string const device = "," + words[2];
    return {makedev(getNumberAfter(",", device, 0), getNumberAfter(":", device, 0)),
            getNumberAfter(",user_id=", line, line.rfind(' ')), words[4]};
}

bool isIn(std::string const& folder, std::string const& path) {
    return path.compare(0, folder.size(), folder) == 0 &&
           (path.size() == folder.size() || path[folder.size()] == '/');
}

} // namespace

std::vector<FuseMount> findFuseMounts() {
    std::vector<FuseMount> mounts;
    std::string const content = readMounts();
    if (!isFuseMount(content)) // the usual case, spared the parsing
        return mounts;
    std::istringstream lines(content);
    for (std::string line; std::getline(lines, line);)
        if (isFuseMount(line))
            mounts.push_back(parseMount(line));
    return mounts;
}

bool hasUsersMount(std::vector<FuseMount> const& mounts) {
    return std::any_of(mounts.begin(), mounts.end(), [](FuseMount const& mount) { return mount.user != 0; });
}

bool isOnUsersMount(std::string const& path, std::vector<FuseMount> const& mounts) {
    return std::any_of(mounts.begin(), mounts.end(),
                       [&](FuseMount const& mount) { return mount.user != 0 && isIn(mount.folder, path); });
}

// The kernel knows the type whatever the file system answers, unless it answers with an error. Then the
// device number decides: only file systems without a disk have the major number 0.
bool isOnFuse(Descriptor const& file, dev_t device) {
    struct statfs info = {};
    return fstatfs(file.get(), &info) == 0 ? info.f_type == FUSE_SUPER_MAGIC : major(device) == 0;
}

} // namespace fdn
