#include <dmn/readiness/ProcessStat.h>

#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

namespace dmn {

namespace {

// By their numbers in the manual page.
constexpr int kFlagsField = 9;
constexpr int kStartTimeField = 22;

// After the field `last`, the next one read is `next`.
std::istream& skip(std::istream& fields, int last, int next) {
    std::string skipped;
    for (int field = last + 1; field < next; ++field)
        fields >> skipped;
    return fields;
}

} // namespace

ProcessStat readProcessStat(std::filesystem::path const& folder) {
    std::ifstream file(folder / "stat");
    std::string text;
    std::getline(file, text, '\0');
    // The program's name comes before, in brackets, and may hold anything.
    std::istringstream fields(text.substr(text.rfind(')') + 1));
    ProcessStat stat;
    fields >> stat.state >> stat.parent;
    skip(fields, 4, kFlagsField) >> stat.flags;
    skip(fields, kFlagsField, kStartTimeField) >> stat.startTime;
    return fields ? stat : ProcessStat();
}

std::filesystem::path getProcFolder(pid_t process) {
    return "/proc/" + std::to_string(process);
}

} // namespace dmn
