#include <dmn/readiness/ProcessStat.h>

#include <array>
#include <cstdio>
#include <memory>
#include <string>

namespace dmn {

namespace {

// The fields 3, 4, 9 and 22 in the manual page.
constexpr char kFields[] = " %c %d %*d %*d %*d %*d %u %*u %*u %*u %*u %*u %*u %*d %*d %*d %*d %*d %*d %llu";
constexpr int kWanted = 4;

// As much of the file as holds these fields: no name is longer than 64 bytes, no number than 20 digits.
std::string readBeginning(std::filesystem::path const& path) {
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> const file(std::fopen(path.c_str(), "re"), &std::fclose);
    std::array<char, 512> text;
    return file ? std::string(text.data(), std::fread(text.data(), 1, text.size(), file.get()))
                : std::string();
}

} // namespace

ProcessStat readProcessStat(std::filesystem::path const& folder) {
    std::string const text = readBeginning(folder / "stat");
    // The program's name comes before, in brackets, and may hold anything.
    std::string const fields = text.substr(text.rfind(')') + 1);
    ProcessStat stat;
    bool const isWhole = std::sscanf(fields.c_str(), kFields, &stat.state, &stat.parent, &stat.flags,
                                     &stat.startTime) == kWanted;
    return isWhole ? stat : ProcessStat();
}

std::filesystem::path getProcFolder(pid_t process) {
    return "/proc/" + std::to_string(process);
}

} // namespace dmn
