#pragma once

#include <fdn/system/Descriptor.h>

#include <optional>

#include <fcntl.h>
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

/// That of an open file; nothing on failure, and then errno says why.
inline std::optional<FileId> getFileId(Descriptor const& file) {
    struct stat info = {};
    return fstat(file.get(), &info) == 0 ? std::optional<FileId>(getFileId(info)) : std::nullopt;
}

/// That of the file with this name in the folder, of a symbolic link the link's own; nothing on failure, and
/// then errno says why: ENOENT when nothing has the name.
inline std::optional<FileId> getFileId(Descriptor const& folder, char const* name) {
    struct stat info = {};
    return fstatat(folder.get(), name, &info, AT_SYMLINK_NOFOLLOW) == 0
               ? std::optional<FileId>(getFileId(info))
               : std::nullopt;
}

} // namespace fdn
