#pragma once

#include <functional>
#include <iostream>
#include <stdexcept>
#include <string>

namespace torture {

/// Throws std::runtime_error with this reason unless the condition holds.
inline void require(bool condition, std::string const& reason) {
    if (!condition)
        throw std::runtime_error(reason);
}

/// Performs the torture. Returns the exit status: 0, or 1 if it throws, and then prints why.
inline int report(std::function<void()> const& torture) {
    try {
        torture();
        return 0;
    } catch (std::exception const& error) {
        std::cout << "FAILED: " << error.what() << std::endl;
        return 1;
    }
}

} // namespace torture
