#include <dmn/init/DefaultRunLevel.h>

#include <fstream>
#include <sstream>
#include <string>

namespace dmn {

int readDefaultRunLevel() {
    std::ifstream file("/etc/inittab");
    for (std::string line; std::getline(file, line);) {
        std::istringstream fields(line);
        std::string id;
        std::string levels;
        std::string action;
        std::getline(std::getline(std::getline(fields, id, ':'), levels, ':'), action, ':');
        if (id[0] != '#' && action == "initdefault" && levels.size() == 1 && levels >= "0" && levels <= "6")
            return levels[0] - '0';
    }
    return 0;
}

} // namespace dmn
