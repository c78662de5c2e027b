#include <fdn/system/splitPath.h>

namespace fdn {

SplitPath splitPath(Path const& path) {
    String const& text = path.getText();
    std::size_t const lastSep = text.find_last_of(L'/');
    if (lastSep == String::npos)
        return {Path("."), path};
    // With its separator, so that the root stays one.
    return {Path(text.substr(0, lastSep + 1)), Path(text.substr(lastSep + 1))};
}

} // namespace fdn
