#pragma once

#include <fdn/Descriptor.h>
#include <fdn/Path.h>

#include <string>

namespace fdn {

/// A new file that takes the place of another one once it is complete. Until then it has a name of its own in
/// the same folder, under which it is deleted if it never gets there; where the process is killed before, the
/// next one in that folder deletes it. The folder is locked meanwhile (flock), unless somebody else has the
/// lock.
class ReplacementFile {
public:
    /// Makes the new file, empty, with the mode 0644 that the umask leaves. `action` is the operation that
    /// errors name.
    ReplacementFile(Path const& path, char const* action);

    ReplacementFile(ReplacementFile const&) = delete;
    ReplacementFile& operator=(ReplacementFile const&) = delete;
    ~ReplacementFile();

    void write(std::string const& content);

    /// Flushes the new file to the disk and puts it at the path, instead of whatever but a folder is there.
    void takePlace();

private:
    void openFolder();
    void create();
    bool createAs(std::string const& name);
    void finishFile();
    void rename();
    void flushFolder();
    [[noreturn]] void fail(char const* func) const;

    Path m_path;
    char const* m_action;
    Path m_folderPath;
    Path m_name;
    Descriptor m_folder;
    Descriptor m_file;
    std::string m_temporaryName;
};

} // namespace fdn
