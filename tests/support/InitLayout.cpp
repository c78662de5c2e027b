#include "support/InitLayout.h"

#include <filesystem>
#include <stdexcept>
#include <string>

namespace test {

namespace {

void makeEmpty(std::filesystem::path const& folder) {
    std::filesystem::remove_all(folder);
    std::filesystem::create_directory(folder);
}

} // namespace

void resetInitLayout() {
    if (!isInPrivateRoot())
        throw std::logic_error("The machine's own init layout must not be touched.");
    std::filesystem::remove_all("/etc/rc.d");
    makeEmpty("/etc/init.d");
    for (int level = 0; level <= 6; ++level)
        makeEmpty("/etc/rc" + std::to_string(level) + ".d");
}

} // namespace test
