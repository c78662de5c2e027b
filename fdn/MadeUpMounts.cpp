#include <fdn/MadeUpMounts.h>

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

constexpr char kType[] = " - fuse";

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

// The number behind the text, which is looked for from the position on; 0 where it is missing.
unsigned getNumberAfter(std::string const& text, std::string const& line, std::size_t from) {
    std::size_t const start = line.find(text, from);
    unsigned number = 0;
    if (start != std::string::npos)
        std::from_chars(line.data() + start + text.size(), line.data() + line.size(), number);
    return number;
}

// proc_pid_mountinfo(5): the device is the third word. The last word, and no other, is the kernel's own: the
// one before it, the source, is what the user wants it to be.
MadeUpMount parseMount(std::string const& line) {
    std::size_t const device = line.find(' ', line.find(' ') + 1);
    return {makedev(getNumberAfter(" ", line, device), getNumberAfter(":", line, device)),
            getNumberAfter(",user_id=", line, line.rfind(' '))};
}

} // namespace

std::vector<MadeUpMount> findMadeUpMounts() {
    std::vector<MadeUpMount> mounts;
    std::string const content = readMounts();
    if (content.find(kType) == std::string::npos) // as nearly everywhere
        return mounts;
    std::istringstream lines(content);
    for (std::string line; std::getline(lines, line);)
        if (line.find(kType) != std::string::npos)
            mounts.push_back(parseMount(line));
    return mounts;
}

bool areAnyUsers(std::vector<MadeUpMount> const& mounts) {
    return std::any_of(mounts.begin(), mounts.end(),
                       [](MadeUpMount const& mount) { return mount.user != 0; });
}

// The kernel says so itself, whatever the file system answers, unless that is an error.
bool isMadeUp(Descriptor const& file) {
    struct statfs info = {};
    return fstatfs(file.get(), &info) != 0 || info.f_type == FUSE_SUPER_MAGIC;
}

} // namespace fdn
