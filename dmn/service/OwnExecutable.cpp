#include <dmn/service/OwnExecutable.h>

#include <fdn/CError.h>
#include <fdn/fileName.h>

#include <array>
#include <climits>
#include <cstddef>
#include <optional>

#include <sys/stat.h>
#include <unistd.h>

namespace dmn {

namespace {

constexpr char kLink[] = "/proc/self/exe";

fdn::String readLink() {
    std::array<char, PATH_MAX> target = {}; // with a zero at its end
    ssize_t const length = readlink(kLink, target.data(), target.size() - 1);
    std::optional<fdn::String> const text =
        length > 0 ? fdn::fromFileName(target.data()) : std::optional<fdn::String>();
    if (!text)
        throw fdn::CError(fdn::String("This program cannot find its own file: ") + kLink +
                          " cannot be read. Is /proc mounted?");
    return *text;
}

bool isSameFile(char const* first, char const* second) {
    struct stat one = {};
    struct stat other = {};
    return stat(first, &one) == 0 && stat(second, &other) == 0 && one.st_dev == other.st_dev &&
           one.st_ino == other.st_ino;
}

} // namespace

fdn::Path findOwnExecutable() {
    fdn::Path const path(readLink());
    // Of a deleted file, the link says so behind its path; a name may end like that, too.
    if (!isSameFile(kLink, fdn::toFileName(path)))
        throw fdn::CError("This program's file is gone or was replaced: '" + path.getText() + "'.");
    return path;
}

} // namespace dmn
