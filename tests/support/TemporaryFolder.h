#pragma once

#include <fdn/Path.h>

#include <string>

namespace test {

/// A fresh folder, deleted with everything in it when the object goes.
class TemporaryFolder {
public:
    TemporaryFolder();
    TemporaryFolder(TemporaryFolder const&) = delete;
    TemporaryFolder& operator=(TemporaryFolder const&) = delete;
    ~TemporaryFolder();

    fdn::Path const& path() const { return m_path; }

    fdn::Path operator/(char const* name) const { return m_path << fdn::Path(name); }

    /// The path as the system's calls take it.
    std::string name() const;

    std::string name(char const* entry) const { return name() + "/" + entry; }

private:
    fdn::Path m_path;
};

/// The content of a file, byte for byte. Fails the running test when it cannot be read.
std::string readFile(std::string const& path);

/// Makes the file, or replaces its content. Fails the running test when it cannot be written.
void writeFile(std::string const& path, std::string const& content);

} // namespace test
