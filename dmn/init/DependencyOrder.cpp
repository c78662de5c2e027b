#include <dmn/init/DependencyOrder.h>

#include <fdn/Path.h>

#include <dmn/init/FileQuestions.h>

#include <fstream>
#include <sstream>
#include <string>

namespace dmn {

namespace {

constexpr char kStartOrder[] = "/etc/init.d/.depend.start";

bool isThere(char const* path) {
    return seemsThere(fdn::Path(path));
}

std::set<fdn::String> splitWords(std::string const& line) {
    std::set<fdn::String> found;
    std::istringstream words(line);
    for (std::string word; words >> word;)
        found.insert(fdn::String::fromBytes(word));
    return found;
}

} // namespace

// As rc decides it.
bool hasDependencyOrder() {
    return isThere(kStartOrder) && isThere("/etc/init.d/.depend.boot") &&
           isThere("/etc/init.d/.depend.stop") && !isThere("/etc/init.d/.legacy-bootordering");
}

std::set<fdn::String> readDependencyOrder() {
    std::ifstream file(kStartOrder);
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("TARGETS =", 0) == 0)
            return splitWords(line.substr(line.find('=') + 1));
    }
    return {};
}

} // namespace dmn
