#pragma once

#include <filesystem>
#include <string>

namespace test {

/// Makes a folder the process's current one, for all its threads, until the object goes.
class CurrentFolder {
public:
    explicit CurrentFolder(std::string const& folder) : m_previous(std::filesystem::current_path()) {
        std::filesystem::current_path(folder);
    }

    CurrentFolder(CurrentFolder const&) = delete;
    CurrentFolder& operator=(CurrentFolder const&) = delete;

    ~CurrentFolder() { std::filesystem::current_path(m_previous); }

private:
    std::filesystem::path m_previous;
};

} // namespace test
