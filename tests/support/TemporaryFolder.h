#pragma once

#include <fdn/Path.h>

#include <string>
#include <vector>

namespace test {

/// A fresh folder that only its owner may enter. It is deleted with everything in it when the object goes.
class TemporaryFolder {
public:
    TemporaryFolder();
    TemporaryFolder(TemporaryFolder const&) = delete;
    TemporaryFolder& operator=(TemporaryFolder const&) = delete;
    ~TemporaryFolder();

    fdn::Path const& path() const { return m_path; }

    fdn::Path operator/(char const* name) const { return m_path << fdn::Path(name); }

    /// The path of the folder, or of an entry in it, as system calls take it.
    std::string name() const;

    std::string name(char const* entry) const { return name() + "/" + entry; }

private:
    fdn::Path m_path;
};

/// Returns the content of a file, byte for byte. Fails the running test when the file cannot be read.
std::string readFile(std::string const& path);

/// The lines of a text, without their line feeds.
std::vector<std::string> linesOf(std::string const& text);

/// Creates the file or replaces its content. Fails the running test when it cannot be written.
void writeFile(std::string const& path, std::string const& content);

} // namespace test
