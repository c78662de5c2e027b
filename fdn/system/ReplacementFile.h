#pragma once

#include <fdn/Path.h>
#include <fdn/system/Descriptor.h>

#include <optional>
#include <string>

#include <sys/types.h>

namespace fdn {

/// A new file that takes the place of another one once it is complete. Until then it has a name of its own in
/// the same folder, under which it is deleted if it never gets there; where the process is killed before, the
/// next one in that folder deletes it. The folder is locked meanwhile (flock), unless somebody else has the
/// lock.
class ReplacementFile {
public:
    /// Makes the new file, empty. `mode`, less the umask, is its mode where it replaces none; otherwise
    /// nobody may do more with it meanwhile than with the old one. `action` is the operation that errors
    /// name.
    ReplacementFile(Path const& path, int mode, char const* action);

    ReplacementFile(ReplacementFile const&) = delete;
    ReplacementFile& operator=(ReplacementFile const&) = delete;
    ~ReplacementFile();

    void write(std::string const& content);

    /// Gives the new file the permissions of the one that it replaces, flushes it to the disk and puts it at
    /// the path, instead of whatever but a folder is there.
    void takePlace();

private:
    void openFolder();
    void lookAtOldFile();
    void create(mode_t mode);
    bool createAs(std::string const& name, mode_t mode);
    void takePermissions();
    void finishFile();
    void rename();
    void flushFolder();
    [[noreturn]] void fail(char const* func) const;

    Path m_path;
    char const* m_action;
    Path m_folderPath;
    Path m_name;
    Descriptor m_folder;
    std::optional<mode_t> m_oldPermissions; // of the file that is replaced
    Descriptor m_file;
    std::string m_temporaryName;
};

} // namespace fdn
