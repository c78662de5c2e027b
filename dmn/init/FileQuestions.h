#pragma once

#include <fdn/Path.h>

#include <filesystem>

namespace dmn {

// Questions about files whose answer is "no" also when the system cannot tell, for guesses that nothing must
// prevent.

/// Whether there is a folder, with links followed.
inline bool seemsFolder(fdn::Path const& path) {
    std::error_code ignored;
    return std::filesystem::is_directory(fdn::toFileName(path).data(), ignored);
}

/// Whether there is anything, with links followed.
inline bool seemsThere(fdn::Path const& path) {
    std::error_code ignored;
    return std::filesystem::exists(fdn::toFileName(path).data(), ignored);
}

} // namespace dmn
