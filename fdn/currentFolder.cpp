#include <fdn/currentFolder.h>

#include <fdn/fileName.h>
#include <fdn/sysError.h>

#include <cerrno>
#include <cstdlib>
#include <memory>
#include <optional>

#include <unistd.h>

namespace fdn {

namespace {

constexpr char kAction[] = "getCurrentWorkDirectoryAsString";

} // namespace

String getCurrentWorkDirectoryAsString() {
    // Linux gives a path of any length: a buffer of our own could be too short.
    std::unique_ptr<char, decltype(&std::free)> const folder(getcwd(nullptr, 0), &std::free);
    if (folder == nullptr)
        throwLastSysError("getcwd", kAction);
    std::optional<String> const text = fromFileName(folder.get());
    if (!text)
        throwSysError(EILSEQ,
                      {{"func", "getcwd"}, {"action", kAction}, {"path", String::fromBytes(folder.get())}});
    return *text;
}

} // namespace fdn
