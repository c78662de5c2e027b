#pragma once

#include <fdn/Path.h>
#include <fdn/system/Descriptor.h>
#include <fdn/system/TemporaryName.h>
#include <fdn/system/splitPath.h>

#include <optional>
#include <string>

#include <sys/types.h>

namespace fdn {

/// A new file that takes the place of another one once it is complete. Until then it has a temporary name in
/// the same folder; if it never takes the place, it is deleted with the object, and the old file stays.
///
/// Errors are CErrors that name the path and the operation `action`.
class ReplacementFile {
public:
    /// Makes the new file, empty. `mode`, less the umask, is its mode if it replaces none. Otherwise nobody
    /// may do more with it meanwhile than with the old one. The folder must be readable.
    ReplacementFile(Path const& path, int mode, char const* action);

    ReplacementFile(ReplacementFile const&) = delete;
    ReplacementFile& operator=(ReplacementFile const&) = delete;

    void append(std::string const& content);

    /// Gives the new file the permissions of the one that it replaces, flushes it to the disk and puts it at
    /// the path, in place of anything but a folder. Blocks until both are on the disk. Call it once, at the
    /// end.
    void takePlace();

private:
    void lookAtOldFile();
    void create(mode_t mode);
    void takePermissions();
    void finishFile();
    void takeName();
    void flushFolder();
    [[noreturn]] void fail(char const* func) const;

    Path m_path;
    char const* m_action;
    SplitPath m_place;
    Descriptor m_folder;
    TemporaryName m_temporaryName;          // goes before the folder
    std::optional<mode_t> m_oldPermissions; // of the file that is replaced
    Descriptor m_file;
};

} // namespace fdn
