#pragma once

#include <fdn/Path.h>

namespace fdn {

/// A path split in two: the file's own name, and the folder in which that is looked up.
struct SplitPath {
    Path folder; ///< never empty: "." for a name alone
    Path name;   ///< empty for a path that ends with "/"
};

SplitPath splitPath(Path const& path);

} // namespace fdn
