#include "support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include <stdlib.h>

namespace test {

TemporaryFolder::TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "dmn-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr)
        throw std::runtime_error("mkdtemp failed for " + name);
    m_path = fdn::Path(fdn::String::fromBytes(name));
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(name(), ignored);
}

std::string TemporaryFolder::name() const {
    return m_path.getText().toUTF8();
}

std::string readFile(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << path;
    return std::string(std::istreambuf_iterator<char>(file), {});
}

std::vector<std::string> linesOf(std::string const& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

void writeFile(std::string const& path, std::string const& content) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << content << std::flush;
    EXPECT_TRUE(file.good()) << path;
}

} // namespace test
