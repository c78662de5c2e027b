// PID files: whatever a file holds, the answer is the process that it names in full, or none; and a claim
// either gets the file or leaves it alone. In the input, "@" stands for the number of this process and "#"
// for what tells it from others.

#include "FuzzSupport.h"

#include <fdn/CError.h>
#include <fdn/CPIDFile.h>
#include <fdn/pidfile/ProcessIdentity.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>

#include <unistd.h>

namespace {

using fuzz::require;

std::string readFile(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

std::string expand(std::string const& input) {
    static std::string const number = std::to_string(getpid());
    static std::string const identity = fdn::getProcessIdentity(getpid());
    std::string content;
    for (char const c : input) {
        if (c == '@')
            content += number;
        else if (c == '#')
            content += identity;
        else
            content += c;
    }
    return content;
}

// The number on the first line, by independent rules; empty when the line is not a number.
std::string getFirstNumber(std::string const& content) {
    static std::regex const line("0*([1-9][0-9]*)[ \t\r]*");
    std::smatch parts;
    std::string const first = content.substr(0, content.find('\n'));
    return std::regex_match(first, parts, line) ? parts[1].str() : std::string();
}

std::string getSecondLine(std::string const& content) {
    std::size_t const end = content.find('\n');
    if (end == std::string::npos)
        return std::string();
    return content.substr(end + 1, content.find('\n', end + 1) - end - 1);
}

void checkAnswer(int answer, std::string const& content) {
    require(answer >= 0, "the answer is not negative");
    std::string const number = content.size() <= 4096 ? getFirstNumber(content) : std::string();
    std::string const identity = getSecondLine(content);
    if (answer != 0) {
        require(std::to_string(answer) == number, "the answer is the number on the first line");
        require(identity.empty() || identity == fdn::getProcessIdentity(answer),
                "the answer is the process that the second line describes");
    } else if (number == std::to_string(getpid())) {
        require(!identity.empty() && identity != fdn::getProcessIdentity(getpid()),
                "a process that the file names in full holds it");
    }
}

void checkClaim(fdn::Path const& path, int holder, std::string const& content) {
    std::string const name = path.getText().toUTF8();
    try {
        fdn::CPIDFile const claim(path);
        require(holder == 0 || holder == getpid(), "a file that another process holds is not taken away");
        require(fdn::CPIDFile::getActivePID(path) == getpid(), "the claim holds");
    } catch (fdn::CError const& error) {
        require(holder != 0, "a stale file does not keep a claim from succeeding");
        require(readFile(name) == content, "a refused claim leaves the file alone");
        return;
    }
    require(!std::filesystem::exists(name), "the file goes with the claim");
}

} // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string const content = expand(fuzz::toBytes(data, size));
    std::string const name = fuzz::inOwnFolder("fuzz.pid");
    fdn::Path const path(fuzz::toText(name));
    fuzz::writeFile(name, content);

    int const answer = fdn::CPIDFile::getActivePID(path);

    checkAnswer(answer, content);
    checkClaim(path, answer, content);
    return 0;
}
