#include <fdn/system/splitPath.h>

#include <algorithm>
#include <cstddef>

namespace fdn {

SplitPath splitPath(Path const& path) {
    String const& text = path.getText();
    std::size_t const lastSep = text.find_last_of(L'/');
    if (lastSep == String::npos)
        return {Path("."), path};
    // The root keeps its separator.
    return {Path(text.substr(0, std::max<std::size_t>(lastSep, 1))), Path(text.substr(lastSep + 1))};
}

} // namespace fdn
