#include <dmn/init/DependencyOrder.h>

#include <fdn/Path.h>
#include <fdn/fileName.h>

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

bool holdsWord(std::string const& line, std::string const& wanted) {
    std::istringstream words(line);
    for (std::string word; words >> word;) {
        if (word == wanted)
            return true;
    }
    return false;
}

} // namespace

// As rc decides it.
bool hasDependencyOrder() {
    return isThere(kStartOrder) && isThere("/etc/init.d/.depend.boot") &&
           isThere("/etc/init.d/.depend.stop") && !isThere("/etc/init.d/.legacy-bootordering");
}

bool isInDependencyOrder(fdn::String const& id) {
    std::ifstream file(kStartOrder);
    std::string const name = fdn::toFileName(id).data();
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("TARGETS =", 0) == 0)
            return holdsWord(line.substr(line.find('=') + 1), name);
    }
    return false;
}

} // namespace dmn
