#pragma once

#include <sys/stat.h>

namespace fdn {

/// What tells a file from all others for as long as it exists, whatever its names are (POSIX sys/stat.h).
struct FileId {
    dev_t device = 0;
    ino_t number = 0;

    bool operator==(FileId const& other) const { return device == other.device && number == other.number; }

    bool operator!=(FileId const& other) const { return !(*this == other); }
};

inline FileId getFileId(struct stat const& info) {
    return {info.st_dev, info.st_ino};
}

} // namespace fdn
