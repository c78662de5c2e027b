#include "FuzzSupport.h"

#include <fdn/CFdnInit.h>

#include <wx/debug.h>
#include <wx/string.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace fuzz {

namespace {

class OwnFolder {
public:
    OwnFolder() : m_path(std::filesystem::temp_directory_path() / "dmn-fuzz-XXXXXX") {
        require(mkdtemp(m_path.data()) != nullptr, "a folder for the fuzzer's files can be made");
    }

    OwnFolder(OwnFolder const&) = delete;
    OwnFolder& operator=(OwnFolder const&) = delete;

    ~OwnFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }

    std::string const& path() const { return m_path; }

private:
    std::string m_path;
};

void onAssertion(wxString const& file, int, wxString const&, wxString const& condition, wxString const&) {
    std::fprintf(stderr, "%s: %s\n", file.utf8_str().data(), condition.utf8_str().data());
    require(false, "wxWidgets finds no misuse");
}

} // namespace

void require(bool condition, char const* property) {
    if (condition)
        return;
    std::fprintf(stderr, "VIOLATED: %s\n", property);
    std::abort();
}

std::string toBytes(std::uint8_t const* data, std::size_t size) {
    return std::string(data, data + size);
}

std::vector<std::string> split(std::string const& input, std::size_t count) {
    std::vector<std::string> pieces(count);
    std::size_t start = 0;
    for (std::size_t i = 0; i < count && start <= input.size(); ++i) {
        std::size_t const end = i + 1 == count ? std::string::npos : input.find('\0', start);
        pieces[i] = input.substr(start, end == std::string::npos ? end : end - start);
        start = end == std::string::npos ? input.size() + 1 : end + 1;
    }
    return pieces;
}

fdn::String toText(std::string const& bytes) {
    return fdn::String::fromBytes(bytes);
}

std::string inOwnFolder(char const* name) {
    static OwnFolder const folder;
    return folder.path() + "/" + name;
}

void writeFile(std::string const& path, std::string const& content) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << content;
}

} // namespace fuzz

int LLVMFuzzerInitialize(int*, char***) {
    setenv("FDN_LOG_FILE", "/dev/null", 1);
    static fdn::CFdnInit const foundation(true);
    wxSetAssertHandler(&fuzz::onAssertion);
    return 0;
}
