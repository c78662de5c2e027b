#include "support/fileInfo.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include <sys/stat.h>
#include <unistd.h>

namespace test {

namespace {

struct stat examine(std::string const& path) {
    struct stat info = {};
    EXPECT_EQ(0, lstat(path.c_str(), &info)) << path;
    return info;
}

} // namespace

std::vector<std::string> entriesOf(std::string const& folder) {
    std::vector<std::string> names;
    std::error_code missing;
    for (auto const& entry : std::filesystem::directory_iterator(folder, missing))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

std::string targetOf(std::string const& link) {
    std::error_code error;
    std::filesystem::path const target = std::filesystem::read_symlink(link, error);
    EXPECT_FALSE(error) << link << ": " << error.message();
    return target.string();
}

unsigned modeOf(std::string const& path) {
    return examine(path).st_mode & 07777U;
}

unsigned ownerOf(std::string const& path) {
    return examine(path).st_uid;
}

unsigned groupOf(std::string const& path) {
    return examine(path).st_gid;
}

void setMode(std::string const& path, unsigned mode) {
    EXPECT_EQ(0, chmod(path.c_str(), mode)) << path;
}

void setOwner(std::string const& path, unsigned owner, unsigned group) {
    EXPECT_EQ(0, chown(path.c_str(), owner, group)) << path;
}

} // namespace test
