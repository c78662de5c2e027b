#include "support/LyingFileSystem.h"

#include <cerrno>
#include <cstdint>
#include <cstring>

#include <sys/stat.h>

namespace test {

namespace {

using Reply = std::optional<FuseAnswer>;

constexpr std::uint64_t kFileNode = FUSE_ROOT_ID + 1;

template <class T>
Reply tell(T const& value) {
    return FuseAnswer{0, std::string(reinterpret_cast<char const*>(&value), sizeof value)};
}

Reply refuse(int error) {
    return FuseAnswer{error, ""};
}

fuse_attr describe(ToldFile const& file, std::uint64_t node) {
    bool const isFolder = node == FUSE_ROOT_ID;
    fuse_attr attributes = {};
    attributes.ino = node;
    attributes.size = isFolder ? 0 : file.content.size();
    attributes.mode = isFolder ? S_IFDIR | 0755 : S_IFREG | file.mode;
    attributes.nlink = isFolder ? 2 : 1;
    attributes.uid = file.owner;
    attributes.gid = file.owner;
    attributes.blksize = 4096;
    return attributes;
}

Reply tellAttributes(ToldFile const& file, std::uint64_t node) {
    fuse_attr_out answer = {};
    answer.attr = describe(file, node);
    return tell(answer);
}

Reply lookUp(ToldFile const& file, std::string const& name) {
    if (name != file.name + '\0')
        return refuse(ENOENT);
    fuse_entry_out entry = {};
    entry.nodeid = kFileNode;
    entry.attr = describe(file, kFileNode);
    return tell(entry);
}

Reply openFile(ToldFile const& file) {
    if (!file.canBeOpened)
        return std::nullopt;
    fuse_open_out answer = {};
    answer.open_flags = FOPEN_DIRECT_IO;
    return tell(answer);
}

Reply readFrom(ToldFile const& file, std::string const& argument) {
    fuse_read_in range = {};
    std::memcpy(&range, argument.data(), sizeof range);
    if (range.offset >= file.content.size())
        return FuseAnswer();
    return FuseAnswer{0, file.content.substr(static_cast<std::size_t>(range.offset), range.size)};
}

Reply answerFor(ToldFile const& file, fuse_in_header const& request, std::string const& argument) {
    switch (request.opcode) {
    case FUSE_LOOKUP:
        return lookUp(file, argument);
    case FUSE_GETATTR:
        return tellAttributes(file, request.nodeid);
    case FUSE_OPEN:
        return openFile(file);
    case FUSE_READ:
        return readFrom(file, argument);
    case FUSE_OPENDIR:
        return tell(fuse_open_out());
    case FUSE_STATFS:
        return tell(fuse_statfs_out());
    case FUSE_FLUSH:
    case FUSE_RELEASE:
    case FUSE_RELEASEDIR:
        return FuseAnswer();
    case FUSE_FORGET:
    case FUSE_BATCH_FORGET:
    case FUSE_INTERRUPT:
        return std::nullopt;
    default:
        return refuse(ENOSYS);
    }
}

} // namespace

LyingFileSystem::LyingFileSystem(std::string const& folder, uid_t mounter, ToldFile const& file)
    : m_server(folder, mounter, [file](fuse_in_header const& request, std::string const& argument) {
          return answerFor(file, request, argument);
      }) {}

} // namespace test
